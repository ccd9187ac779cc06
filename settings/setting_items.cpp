#include "settings/setting_items.h"

#include "base/fixed_text.h"
#include "runtime/threads/process_interface_void.h"
#include "settings/xml_document.h"

namespace {

constexpr char kValue[] = "value";

LXMLElement* GetOrAdd(LXMLElement& oParent, char const* szName) noexcept {
    LXMLElement* const pFound = oParent.GetElement(szName);
    return pFound ? pFound : oParent.AddElement(szName);
}

} // namespace

bool LLoadSettings(LXMLDocument& oDocument, char const* szPath) noexcept {
    LProcessInterfaceVoid oNeverStops;
    char szError[kLNameSize]; // what could be read is what there is: nobody to tell
    oDocument = LXMLDocument();
    int const nResult = oDocument.LoadFromFile(oNeverStops, szPath, szError);
    return nResult != LXMLDocument::kFailed ||
           !oDocument.GetFirstChild(); // empty: there was nothing that could be read
}

char const* LFindSetting(LXMLDocument const& oDocument, char const* szSection, char const* szItem) noexcept {
    LXMLElement const* const pSection = oDocument.GetElement(szSection);
    LXMLElement const* const pItem = pSection ? pSection->GetElement(szItem) : nullptr;
    return pItem ? pItem->GetAttributes().Get(kValue) : nullptr;
}

bool LPutSetting(LXMLDocument& oDocument, char const* szSection, char const* szItem, char const* szValue) noexcept {
    LXMLElement* const pSection = GetOrAdd(oDocument, szSection);
    LXMLElement* const pItem = pSection ? GetOrAdd(*pSection, szItem) : nullptr;
    return pItem && pItem->GetAttributes().Set(kValue, szValue ? szValue : "");
}

void LCopySetting(char* szOut, char const* szValue) noexcept {
    std::size_t const nLength = szValue ? strnlen(szValue, kLNameSize - 1) : 0;
    if (nLength > 0)
        std::memmove(szOut, szValue, nLength);
    szOut[nLength] = '\0';
}
