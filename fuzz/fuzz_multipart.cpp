// Multipart bodies read from arbitrary bytes: each reads or gives an error naming an offset within
// them, never a read past the end; what reads, written again, reads back to as many parts with
// the same data, and written once more gives the same bytes. Every part's data, in whatever
// transfer encoding it names, decodes; a nested multipart reads as a body in turn.

#include "fuzz_require.h"
#include "multipart.h"
#include "transfer_encoding.h"

#include <cstddef>
#include <cstdint>

namespace
{

using tavmms::pdu::DecodeError;
using tavmms::pdu::decodeMultipart;
using tavmms::pdu::encodeMultipart;
using tavmms::pdu::Part;

void check(QByteArrayView body, int depth)
{
    DecodeError error{-1, {}};
    const std::optional<QList<Part>> parts = decodeMultipart(body, &error);
    if (!parts) {
        require(error.offset >= 0 && error.offset <= body.size(),
                "an error names an offset within the body or at its end");
        require(!error.expected.isEmpty(), "an error says what was expected");
        return;
    }
    require(error.offset == -1, "a body that reads gives no error");
    const QByteArray written = encodeMultipart(*parts);
    const std::optional<QList<Part>> again = decodeMultipart(written);
    require(again.has_value(), "a body written reads back");
    require(again->size() == parts->size(), "a body written reads back to as many parts");
    for (qsizetype index = 0; index < parts->size(); ++index) {
        const Part& part = (*parts)[index];
        require((*again)[index].data == part.data, "a part written reads back with its data");
        require((*again)[index].contentId() == part.contentId(),
                "a part written reads back with its Content-ID");
        require(tavmms::pdu::decodedData(part).size() <= part.data.size(),
                "decoded data is no longer than the encoded");
        tavmms::pdu::startPart(
            {"application/vnd.wap.multipart.related", {{"start", (*parts)[index / 2].contentId()}}},
            *parts);
        part.name();
        part.charset();
        if (part.isMultipart() && depth < 2)
            check(part.data, depth + 1);
    }
    require(encodeMultipart(*again) == written, "a body written twice gives the same bytes");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    check(bytes, 0);
    return 0;
}
