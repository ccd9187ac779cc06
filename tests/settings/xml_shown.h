// An XML tree in one line, for tests to compare.
#pragma once

#include "settings/xml_element.h"

#include <string>

// 'text' for a text node; name[attribute=value ...]{children} for an element, without the brackets that hold nothing.
// Recursive: for trees of a test's own size.
inline std::string Shown(LXMLElement const& oNode) {
    std::string szShown = oNode.GetName() ? oNode.GetName() : "'" + std::string(oNode.GetElementData()) + "'";
    std::string szAttributes, szChildren;
    oNode.GetAttributes().ForEach([&](LXMLAttribute const& oAttribute) {
        szAttributes +=
            (szAttributes.empty() ? "" : " ") + std::string(oAttribute.GetName()) + "=" + oAttribute.GetValue();
    });
    for (auto const* pChild = oNode.GetFirstChild(); pChild && oNode.GetName(); pChild = pChild->GetNext())
        szChildren += (szChildren.empty() ? "" : " ") + Shown(*pChild);
    szShown += szAttributes.empty() ? "" : "[" + szAttributes + "]";
    return szShown + (szChildren.empty() ? "" : "{" + szChildren + "}");
}

// The same of all the nodes in an element or document.
inline std::string ShownChildren(LXMLElement const& oParent) {
    std::string szShown;
    for (auto const* pChild = oParent.GetFirstChild(); pChild; pChild = pChild->GetNext())
        szShown += (szShown.empty() ? "" : " ") + Shown(*pChild);
    return szShown;
}
