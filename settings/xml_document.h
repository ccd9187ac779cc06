// LXMLDocument: the root of an XML tree, loaded from a file and written back.
#pragma once

#include "settings/xml_element.h"

class LProcessInterface;

// An element without a name whose children are the top-level nodes of the file, any number of them. All text in it is
// kept exactly as read. Text is bytes of UTF-8. One thread uses a document at a time; processes that share a file are
// kept apart by whole-file locks.
class LXMLDocument : public LXMLElement {
public:
    LXMLDocument() noexcept : LXMLElement(true) {}

    enum LoadResult : int { kLoaded = 0, kStopped = 1, kFailed = 2 };

    // Replaces what is in the document by the file's. UTF-16 with a byte-order mark is converted, a mark of UTF-8 left
    // out. The file is read under a shared lock, which is waited for up to 5 s. `szError`, of kLNameSize bytes, gets
    // the reason of a failure; a document that is loaded may still have the first error of its text there.
    // - kStopped: the progress interface asked to stop; what was read until then is in the document.
    // - kFailed: no such file; twenty times its size is not below the free heap; it can't be opened, locked or read (in
    //   these cases the document is as it was); or memory ran out on the way.
    int LoadFromFile(LProcessInterface& oProgress, char const* szPath, char* szError) noexcept;

    // Replaces the file's text by the formatted document, making the file (mode 0666 less the umask) if need be. An
    // exclusive lock is taken without waiting: where somebody else holds one, where the file can't be opened, and where
    // there is no memory for the text, the file stays as it is. Nothing is reported; whoever must know loads the file.
    void WriteToFile(char const* szPath) const noexcept;
};

static_assert(sizeof(LXMLDocument) == sizeof(LXMLElement));
