// LXMLSaver: writes trees as XML text, formatted or not.
#pragma once

#include "settings/xml_element.h"
#include "settings/xml_sink.h"
#include "settings/xml_stack.h"

// One use for any number of nodes, one after the other; one thread. The tree must not change meanwhile. When it fails
// the string that it appends to is as it was.
class LXMLSaver {
public:
    enum Form { kFormatted, kPlain };

    LXMLSaver(LStringLongTemplate<char>& szOut, Form eForm) noexcept : oSink(szOut), bFormatted(eForm == kFormatted) {}

    // Appends the node, formatted from `nIndent` on, which the other form takes no notice of. False when nothing was
    // written.
    bool Save(LXMLElement const& oNode, int nIndent) noexcept;

    bool HasFailed() const noexcept { return oSink.HasFailed(); }

private:
    struct Level { // an element whose children are being written
        LXMLElement const* pElement;
        LXMLElement const* pNextChild;
        int nIndent; // its own; below 0 for no lines
        bool bLines; // its children stand on lines of their own
    };
    enum class Content { Nothing, Text, Elements };

    bool SaveNode(LXMLElement const& oNode, int nIndent) noexcept;
    bool SaveText(LXMLElement const& oNode) noexcept;
    void SaveElement(LXMLElement const& oElement, int nIndent) noexcept;
    void SaveAttributes(LXMLElement const& oElement) noexcept;
    void SaveClosingTag(Level const& oLevel) noexcept;
    Content ContentOf(LXMLElement const& oElement) const noexcept;
    bool IsNothing(char const* szText) const noexcept;

    void PutAttribute(char const* szName) noexcept;

    LXMLSink oSink;
    LXMLStack<Level> lOpen;
    bool const bFormatted;
};
