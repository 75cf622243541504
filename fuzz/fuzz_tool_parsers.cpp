// The tool's readers of command-line values on arbitrary text: numbers, flags, priorities, address
// entries and the value of every setting. Each gives a value or nothing (with a reason), and none
// may crash, read out of bounds or leak.

#include "cli.h"
#include "mmshelpers.h"
#include "settingshelpers.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text =
        QString::fromUtf8(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    cli::parseNumber(text);
    cli::parseNumber(text, 255);
    cli::parseFlag(text);
    cli::parsePriority(text);
    QString error;
    // A value read gives no reason; one refused always does.
    if (!cli::parseEntry(text, &error) && error.isEmpty())
        __builtin_trap();
    error.clear();
    cli::parseEntries(text.split(QLatin1Char('\n')), &error);
    for (const cli::Setting& setting : cli::settings()) {
        error.clear();
        if (!cli::parseValue(setting, text, &error) && error.isEmpty())
            __builtin_trap();
    }
    return 0;
}
