#ifndef TAVMMS_TESTS_GUI_APPLICATION_H
#define TAVMMS_TESTS_GUI_APPLICATION_H

#include <gtest/gtest.h>

#include <QTimer>

#include <functional>
#include <memory>

class QAbstractButton;
class QApplication;
class QMessageBox;

namespace tavmms_test
{

// A QApplication on Qt's offscreen platform for the whole test program, so that pictures and
// widgets work without a display. Register it once per program:
//   const auto* const kApplication =
//       ::testing::AddGlobalTestEnvironment(new tavmms_test::OffscreenApplication);
class OffscreenApplication : public ::testing::Environment
{
public:
    OffscreenApplication();
    ~OffscreenApplication() override;

    void SetUp() override;
    void TearDown() override;

private:
    int argc_;
    char* argv_[4];
    std::unique_ptr<QApplication> application_;
};

// Waits, while the object lives, for the next modal message box of this process. Once it is on
// screen, `handle` looks at it and returns the button to press, or null to close the box with
// Escape. A box that is still open 10 s after the watch began is closed, and the test fails.
class ModalBoxWatcher
{
public:
    using Handler = std::function<QAbstractButton*(QMessageBox& box)>;

    explicit ModalBoxWatcher(Handler handle);
    ~ModalBoxWatcher();
    ModalBoxWatcher(const ModalBoxWatcher&) = delete;
    ModalBoxWatcher& operator=(const ModalBoxWatcher&) = delete;

    // How many boxes were handled.
    int seen() const { return seen_; }

private:
    void poll();

    Handler handle_;
    QTimer timer_;
    int ticks_ = 0;
    int seen_ = 0;
};

} // namespace tavmms_test

#endif
