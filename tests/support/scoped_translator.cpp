#include "support/scoped_translator.h"

#include <QCoreApplication>

namespace tavmms_test
{

ScopedTranslator::ScopedTranslator(QList<Translation> table) : table_(std::move(table))
{
    QCoreApplication::installTranslator(this);
}

ScopedTranslator::~ScopedTranslator()
{
    QCoreApplication::removeTranslator(this);
}

QString ScopedTranslator::translate(const char* context, const char* sourceText,
                                    const char* disambiguation, int) const
{
    for (const Translation& entry : table_) {
        if (entry.context == QLatin1String(context) &&
            entry.source == QString::fromUtf8(sourceText) &&
            entry.comment == QString::fromUtf8(disambiguation))
            return entry.translated;
    }
    return QString();
}

} // namespace tavmms_test
