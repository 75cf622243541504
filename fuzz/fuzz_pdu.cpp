// MMS PDUs read from arbitrary bytes: each decodes or gives an error naming an offset within the
// data, never a read past the end; each PDU that decodes, encoded again, decodes to the same
// header fields and body; a message read whole, written again, reads back with the same header
// fields and the same parts' data; and each reader of a transaction PDU refuses in words, as
// malformed only what does not read and as of another type only another type.

#include "fuzz_require.h"
#include "mms_message.h"
#include "mms_pdu.h"
#include "transaction_pdu.h"

#include <cstddef>
#include <cstdint>

namespace
{

template <typename Decode>
void checkTransactionPdu(Decode decode, tavmms::pdu::MessageType type, const QByteArray& bytes,
                         const std::optional<tavmms::pdu::Pdu>& pdu)
{
    using tavmms::pdu::TransactionError;
    TransactionError error;
    const bool decoded = decode(bytes, &error).has_value();
    if (!pdu)
        require(!decoded && error.kind == TransactionError::Malformed,
                "bytes that do not read are refused as malformed");
    else if (pdu->number(tavmms::pdu::Field::MessageType) != quint64(type))
        require(!decoded && error.kind == TransactionError::WrongType,
                "a PDU of another type is refused as such");
    else
        require(decoded || error.kind == TransactionError::MissingField,
                "a PDU of the type that reads is refused only for a missing field");
    require(decoded || !error.text.isEmpty(), "a refusal says why");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    tavmms::pdu::DecodeError error;
    const std::optional<tavmms::pdu::Pdu> pdu = tavmms::pdu::decodePdu(bytes, &error);
    using tavmms::pdu::MessageType;
    checkTransactionPdu(tavmms::pdu::decodeSendConf, MessageType::SendConf, bytes, pdu);
    checkTransactionPdu(tavmms::pdu::decodeNotification, MessageType::NotificationInd, bytes, pdu);
    checkTransactionPdu(tavmms::pdu::decodeDeliveryReport, MessageType::DeliveryInd, bytes, pdu);
    checkTransactionPdu(tavmms::pdu::decodeReadReport, MessageType::ReadOrigInd, bytes, pdu);
    if (!pdu) {
        require(error.offset >= 0 && error.offset <= bytes.size(),
                "an error names an offset within the data or at its end");
        require(!error.expected.isEmpty(), "an error says what was expected");
        return 0;
    }
    require(pdu->body.size() <= bytes.size(), "a body is no larger than the data");
    const QByteArray encoded = tavmms::pdu::encodePdu(*pdu);
    const std::optional<tavmms::pdu::Pdu> again = tavmms::pdu::decodePdu(encoded, &error);
    require(again.has_value(), "an encoded PDU decodes");
    require(*again == *pdu, "an encoded PDU decodes to the same fields and body");

    const std::optional<tavmms::pdu::Message> message = tavmms::pdu::decodeMessage(bytes);
    if (!message)
        return 0;
    const std::optional<tavmms::pdu::Message> rewritten =
        tavmms::pdu::decodeMessage(tavmms::pdu::encodeMessage(*message));
    require(rewritten.has_value(), "an encoded message decodes");
    require(rewritten->pdu == message->pdu, "an encoded message keeps its header fields");
    require(rewritten->parts.size() == message->parts.size(), "an encoded message keeps its parts");
    for (qsizetype index = 0; index < message->parts.size(); ++index)
        require(rewritten->parts[index].data == message->parts[index].data,
                "an encoded message keeps the data of its parts");
    return 0;
}
