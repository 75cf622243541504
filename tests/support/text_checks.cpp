#include "support/text_checks.h"

#include <gtest/gtest.h>

namespace tavmms_test
{

void expectEmptyText(const QString& text)
{
    EXPECT_TRUE(text.isEmpty()) << text.toStdString();
    EXPECT_FALSE(text.isNull()) << "a null text where an empty one belongs";
}

} // namespace tavmms_test
