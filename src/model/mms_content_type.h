#ifndef TAVMMS_MMS_CONTENT_TYPE_H
#define TAVMMS_MMS_CONTENT_TYPE_H

#include <QString>

// Content type of a message body: "type/subtype params", passed by value.
struct MMS_CONTENT_TYPE_T {
    QString type;    // major type, before the "/"
    QString subtype; // after the "/"
    QString params;  // everything after the first blank
};

#endif
