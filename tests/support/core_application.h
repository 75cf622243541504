#ifndef TAVMMS_TESTS_CORE_APPLICATION_H
#define TAVMMS_TESTS_CORE_APPLICATION_H

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <memory>

namespace tavmms_test
{

// A QCoreApplication for the whole test program, so that event loops and QtNetwork work. Register
// it once per program:
//   const auto* const kApplication =
//       ::testing::AddGlobalTestEnvironment(new tavmms_test::CoreApplication);
class CoreApplication : public ::testing::Environment
{
public:
    void SetUp() override;
    void TearDown() override;

private:
    int argc_ = 1;
    char* argv_[2] = {const_cast<char*>("tests"), nullptr};
    std::unique_ptr<QCoreApplication> application_;
};

} // namespace tavmms_test

#endif
