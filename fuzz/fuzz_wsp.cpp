// The WSP encodings MMS PDUs are made of, read from arbitrary bytes: each value reads or gives an
// error naming an offset within the data, never a read past the end; and each value read, written
// again, reads back the same. Texts in the charsets MMS names decode, whatever their bytes.

#include "charsets.h"
#include "fuzz_require.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <cstddef>
#include <cstdint>

namespace
{

using tavmms::pdu::WspReader;
using tavmms::pdu::WspWriter;

// Writes `value` with `write`, reads it back with `read`, and requires the same value.
template <typename Value, typename Write, typename Read>
void roundTrip(const Value& value, Write write, Read read)
{
    WspWriter writer;
    write(writer, value);
    WspReader again(writer.bytes());
    require(read(again) == value, "a value written reads back the same");
    require(again.atEnd() && !again.error(), "a value written reads back whole");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    WspReader reader(bytes);
    // Each value is preceded by an octet that says which encoding to read.
    while (const std::optional<quint8> choice = reader.octet()) {
        switch (*choice % 8) {
        case 0:
            if (const auto v = reader.uintvar())
                roundTrip(
                    *v, [](WspWriter& w, quint32 x) { w.uintvar(x); },
                    [](WspReader& r) { return r.uintvar(); });
            break;
        case 1:
            if (const auto v = reader.valueLength()) {
                require(qsizetype(*v) <= reader.remaining(), "a value length fits what is left");
                WspWriter writer;
                writer.valueLength(*v);
                writer.octets(QByteArray(qsizetype(*v), 'x'));
                WspReader again(writer.bytes());
                require(again.valueLength() == v, "a value length reads back the same");
            }
            break;
        case 2:
            if (const auto v = reader.shortInteger())
                roundTrip(
                    *v, [](WspWriter& w, quint8 x) { w.shortInteger(x); },
                    [](WspReader& r) { return r.shortInteger(); });
            break;
        case 3:
            if (const auto v = reader.integer())
                roundTrip(
                    *v, [](WspWriter& w, quint64 x) { w.integer(x); },
                    [](WspReader& r) { return r.integer(); });
            break;
        case 4:
            if (const auto v = reader.textString())
                roundTrip(
                    *v, [](WspWriter& w, const QByteArray& x) { w.textString(x); },
                    [](WspReader& r) { return r.textString(); });
            break;
        case 5:
            if (const auto v = reader.quotedString())
                roundTrip(
                    *v, [](WspWriter& w, const QByteArray& x) { w.quotedString(x); },
                    [](WspReader& r) { return r.quotedString(); });
            break;
        case 6:
            if (const auto length = reader.octet())
                reader.octets(*length);
            break;
        default:
            // A text in a charset the data names, of the length it gives.
            if (const auto mib = reader.integer()) {
                const auto length = reader.octet();
                if (const auto text = length ? reader.octets(*length) : std::nullopt) {
                    const auto decoded = tavmms::pdu::decodeText(*text, *mib);
                    require(!decoded || decoded->text.size() <= text->size() + 1,
                            "a text decodes to no more characters than it has bytes, and one");
                }
            }
            break;
        }
        if (reader.error()) {
            require(reader.error()->offset >= 0 && reader.error()->offset <= bytes.size(),
                    "an error names an offset within the data or at its end");
            require(!reader.error()->expected.isEmpty(), "an error says what was expected");
            break;
        }
    }
    return 0;
}
