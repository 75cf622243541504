#ifndef TAVMMS_TESTS_SCOPED_TRANSLATOR_H
#define TAVMMS_TESTS_SCOPED_TRANSLATOR_H

#include <QList>
#include <QString>
#include <QTranslator>

namespace tavmms_test
{

// One entry of a translation table: what QCoreApplication::translate() is asked for, and the
// answer.
struct Translation {
    QString context;
    QString source;
    QString comment;
    QString translated;
};

// A translator that knows only `table`, matched exactly on context, text and comment; installed
// in the application while it lives. Needs a QCoreApplication.
class ScopedTranslator : public QTranslator
{
public:
    explicit ScopedTranslator(QList<Translation> table);
    ~ScopedTranslator() override;

    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int n) const override;
    bool isEmpty() const override { return table_.isEmpty(); }

private:
    QList<Translation> table_;
};

} // namespace tavmms_test

#endif
