#pragma once
// Trimming, and hiding one character of a text so that it can serve as a separator around it.
// Reentrant: no shared state; the caller owns the texts.
#include <string>

#include "TaskExport.h"

// Removes white space (as the C library classifies it in the current locale) from both ends of `text`.
// Bytes with the top bit set are never white space, so UTF-8 text such as a non-breaking space survives.
// Never fails; a text of blanks only becomes empty.
TASKDB_API void trimWhiteSpace(std::string& text);

// Rewrites `text` so that it no longer holds `hidden`: `hidden` becomes `escape` + '1', `escape` becomes
// `escape` + '2'. The empty text becomes a lone backtick, and a text that starts with a backtick gets a
// second one after it, so the empty text stays distinguishable once encoded. `hidden` and `escape` must
// differ from each other and from the backtick. Returns `text`; never fails.
TASKDB_API std::string& transform_string_encode(std::string& text, char hidden, char escape);

// Undoes transform_string_encode in place: a leading backtick is dropped, `escape` + '1' becomes `hidden` and
// `escape` + any other character becomes `escape`. A trailing lone `escape` is kept as it is. Returns `text`.
TASKDB_API std::string& transform_string_decode(std::string& text, char hidden, char escape);
