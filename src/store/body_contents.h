#ifndef TAVMMS_STORE_BODY_CONTENTS_H
#define TAVMMS_STORE_BODY_CONTENTS_H

// What a message's body holds, as its index row tells the message lists: sound or video, and
// attachments.

#include "mms_content_type.h"

#include <QByteArrayView>

namespace tavmms::store
{

struct BodyContents {
    bool audioOrVideo = false; // a part of type audio/* or video/*
    // A part the message does not present itself: one whose Content-Disposition is "attachment",
    // or one that is neither plain text, SMIL, an image, sound nor video (a vCard, a PDF, ...).
    // The start part of a related body presents the others, whatever its type.
    bool attachment = false;
};

// The contents of `body`, of content type `type`; a body that does not read as its type says
// it holds nothing. A body of a single part is that part.
BodyContents bodyContents(const MMS_CONTENT_TYPE_T& type, QByteArrayView body);

} // namespace tavmms::store

#endif
