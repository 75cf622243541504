#ifndef TAVMMS_TESTS_TEXT_CHECKS_H
#define TAVMMS_TESTS_TEXT_CHECKS_H

#include <QString>

namespace tavmms_test
{

// `text` is empty but not null.
void expectEmptyText(const QString& text);

} // namespace tavmms_test

#endif
