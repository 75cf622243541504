// The MMS codec against copying the same bytes once, which any reader that hands out the parts
// of a message as arrays of their own must do at least.
//
// BM_Paired_DecodeMessage/N  decodeMessage() of an N-byte m-retrieve.conf into its header fields
//                            and parts (transfer encodings left as they are), against one copy of
//                            its bytes into a new array.
// BM_Paired_EncodeMessage/N  encodeMessage() of the same message from its header fields and parts
//                            in memory, against one copy of as many bytes into a new array.
// BM_Copy_KeptBuffer/N       memcpy() of N bytes into a buffer kept across runs: the floor of a
//                            copy, without the allocation a new array needs.
//
// The message: an m-retrieve.conf with the header fields an MMSC sends and a multipart.related
// body of a SMIL presentation, a text and three pictures that fill it to N bytes.

#include <tavmmsutility.h>

#include "message_body.h"
#include "paired_timing.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace
{

using namespace tavmms::pdu;

Message makeMessage(qsizetype size)
{
    const qsizetype picture = size / 3;
    const QByteArray pixels = makeBody(size);
    const QList<Attachment> attachments = {
        {"image/jpeg", QStringLiteral("one.jpg"), pixels.first(picture)},
        {"image/jpeg", QStringLiteral("two.jpg"), pixels.sliced(picture, picture)},
        {"image/png", QStringLiteral("three.png"), pixels.sliced(2 * picture, picture)},
    };
    const EncodedBody body =
        composeBody(QStringLiteral("Photos from the weekend"), attachments, BodyKind::Related);
    Message message;
    HeaderField contentType;
    contentType.code = quint8(Field::ContentType);
    contentType.contentType = body.contentType;
    message.pdu.headers = {
        HeaderField::octet(Field::MessageType, quint8(MessageType::RetrieveConf)),
        HeaderField::textField(Field::TransactionId, QStringLiteral("m10l9m7u03mct2jbc12")),
        HeaderField::integer(Field::MmsVersion, 0x12),
        HeaderField::textField(Field::MessageId, QStringLiteral("m10bdtxic3mct2jbc12@mmsc")),
        HeaderField::integer(Field::Date, 1388311724),
        HeaderField::from(QStringLiteral("+15550100/TYPE=PLMN")),
        HeaderField::textField(Field::To, QStringLiteral("+15550101/TYPE=PLMN")),
        HeaderField::textField(Field::Subject, QStringLiteral("Фото с выходных")),
        HeaderField::octet(Field::Priority, 129),
        HeaderField::octet(Field::RetrieveStatus, 128),
        contentType,
    };
    message.parts = *decodeMultipart(body.bytes);
    return message;
}

void BM_Paired_DecodeMessage(benchmark::State& state)
{
    const QByteArray bytes = encodeMessage(makeMessage(state.range(0)));
    PairedTiming().runAll(
        state,
        [&] {
            const std::optional<Message> message = decodeMessage(bytes);
            benchmark::DoNotOptimize(message);
            return message && message->parts.size() == 5;
        },
        [&] {
            QByteArray copy(bytes.constData(), bytes.size());
            benchmark::DoNotOptimize(copy.data());
            return !copy.isEmpty();
        },
        "a message did not decode");
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

void BM_Paired_EncodeMessage(benchmark::State& state)
{
    const Message message = makeMessage(state.range(0));
    const QByteArray expected = encodeMessage(message);
    PairedTiming().runAll(
        state,
        [&] {
            const QByteArray bytes = encodeMessage(message);
            benchmark::DoNotOptimize(bytes.constData());
            return bytes.size() == expected.size();
        },
        [&] {
            QByteArray copy(expected.constData(), expected.size());
            benchmark::DoNotOptimize(copy.data());
            return !copy.isEmpty();
        },
        "a message did not encode");
    state.SetBytesProcessed(state.iterations() * expected.size());
}

void BM_Copy_KeptBuffer(benchmark::State& state)
{
    const QByteArray bytes = makeBody(state.range(0));
    std::vector<char> buffer(bytes.size());
    for (auto _ : state) {
        std::memcpy(buffer.data(), bytes.constData(), bytes.size());
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

} // namespace

BENCHMARK(BM_Paired_DecodeMessage)->Arg(300 * 1024)->Arg(1024 * 1024);
BENCHMARK(BM_Paired_EncodeMessage)->Arg(300 * 1024)->Arg(1024 * 1024);
BENCHMARK(BM_Copy_KeptBuffer)->Arg(300 * 1024)->Arg(1024 * 1024);

BENCHMARK_MAIN();
