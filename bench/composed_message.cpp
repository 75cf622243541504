#include "composed_message.h"

tavmms::store::NewMessage composedMessage(const QByteArray& body, bool named)
{
    tavmms::store::NewMessage message;
    MMS_UTIL_Entry number;
    number.type = MMS_UTIL_ADDR_PLMN;
    if (named) {
        message.from = number;
        message.from.name = QStringLiteral("Me");
        message.from.address = QStringLiteral("+15550100");
        number.name = QStringLiteral("Ann");
    }
    number.address = QStringLiteral("+15550101");
    message.to.append(number);
    if (named)
        number.name = QStringLiteral("Bob");
    number.address = QStringLiteral("+15550102");
    message.to.append(number);
    MMS_UTIL_Entry carla;
    carla.name = QStringLiteral("Carla");
    carla.type = MMS_UTIL_ADDR_EMAIL;
    carla.address = QStringLiteral("carla@example.org");
    message.to.append(carla);
    message.subject = QStringLiteral("Photos from the weekend");
    message.contentType = MMS_CONTENT_TYPE_T{QStringLiteral("application"),
                                             QStringLiteral("vnd.wap.multipart.related"),
                                             QStringLiteral("type=application/smil")};
    message.body = body;
    return message;
}
