#include "tools/inspect/object_tree.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr AudioObjectPropertyScope kScopes[] = {
    kAudioObjectPropertyScopeGlobal,
    kAudioObjectPropertyScopeInput,
    kAudioObjectPropertyScopeOutput,
    kAudioObjectPropertyScopePlayThrough,
};
constexpr AudioObjectPropertyElement kElements[] = {0, 1, 2};
constexpr int kDeepest = 8; // a tree that goes round in circles is cut off there

// The property at an earlier address that said the same, if any.
InspectedProperty* FindSame(std::vector<InspectedProperty>& lProperties, InspectedProperty const& oNew) {
    auto const it = std::find_if(lProperties.begin(), lProperties.end(), [&](InspectedProperty const& oOld) {
        return oOld.pKnown == oNew.pKnown && oOld.oText.lValues == oNew.oText.lValues &&
               oOld.oText.nResult == oNew.oText.nResult;
    });
    return it == lProperties.end() ? nullptr : &*it;
}

void InspectAddress(DriverView const& oDriver, InspectedObject& oObject, KnownProperty const& oKnown,
                    AudioObjectPropertyAddress const& oAddress) {
    bool const bOnce = oKnown.nKind == ValueKind::CustomText && !oObject.lProperties.empty() &&
                       oObject.lProperties.back().pKnown == &oKnown; // reading it prints a line
    if (bOnce || !oDriver.Has(oObject.nObject, oAddress))
        return;
    InspectedProperty oFound{&oKnown, oAddress, {oAddress.mScope}, false, {}};
    oFound.oText = ReadPropertyText(oDriver, oObject.nObject, oKnown, oAddress);
    oFound.bSettable = oDriver.IsSettable(oObject.nObject, oAddress);
    InspectedProperty* const pSame = FindSame(oObject.lProperties, oFound);
    if (!pSame)
        oObject.lProperties.push_back(std::move(oFound));
    else if (std::find(pSame->lScopes.begin(), pSame->lScopes.end(), oAddress.mScope) == pSame->lScopes.end())
        pSame->lScopes.push_back(oAddress.mScope);
}

void InspectProperty(DriverView const& oDriver, InspectedObject& oObject, KnownProperty const& oKnown) {
    for (AudioObjectPropertyScope const nScope : kScopes)
        for (AudioObjectPropertyElement const nElement : kElements)
            InspectAddress(oDriver, oObject, oKnown, {oKnown.nSelector, nScope, nElement});
}

InspectedObject InspectObject(DriverView const& oDriver, AudioObjectID nObject, AudioObjectID nOwner, int nDepth) {
    InspectedObject oObject{nObject, 0, {}, {}};
    oObject.nClass = oDriver.Get<AudioClassID>(nObject, GlobalAddress(kAudioObjectPropertyClass)).value_or(0);
    for (KnownProperty const& oKnown : KnownProperties())
        InspectProperty(oDriver, oObject, oKnown);
    if (nDepth < kDeepest)
        for (AudioObjectID const nOwned : oDriver.List(nObject, kAudioObjectPropertyOwnedObjects))
            if (nOwned != nOwner && nOwned != nObject)
                oObject.lOwned.push_back(InspectObject(oDriver, nOwned, nObject, nDepth + 1));
    return oObject;
}

std::string ScopeName(AudioObjectPropertyScope nScope) {
    std::string const szCode = CodeText(nScope);
    size_t const nSpace = szCode.find("' ");
    return nSpace == std::string::npos ? szCode : szCode.substr(nSpace + 2);
}

std::string ValueLine(PropertyText const& oText) {
    if (oText.nResult != 0)
        return "refused: " + FourCharText(static_cast<UInt32>(oText.nResult));
    std::string szLine;
    for (std::string const& szValue : oText.lValues)
        szLine += (szLine.empty() ? "" : ", ") + szValue;
    return szLine.empty() ? "(none)" : szLine;
}

// " (input, output)", " (element 1)": what is not plain global and main.
std::string AddressSuffix(InspectedProperty const& oProperty) {
    std::string szSuffix;
    auto const oAdd = [&](std::string const& szWord) { szSuffix += (szSuffix.empty() ? "" : ", ") + szWord; };
    if (oProperty.oAddress.mScope != kAudioObjectPropertyScopeGlobal)
        for (AudioObjectPropertyScope const nScope : oProperty.lScopes)
            oAdd(ScopeName(nScope));
    if (oProperty.oAddress.mElement != 0)
        oAdd("element " + std::to_string(oProperty.oAddress.mElement));
    return szSuffix.empty() ? "" : " (" + szSuffix + ")";
}

void AddText(std::string& szText, InspectedObject const& oObject, size_t nIndent) {
    std::string const szIndent(nIndent, ' ');
    szText += szIndent + std::to_string(oObject.nObject) + "  " + CodeText(oObject.nClass) + "\n";
    for (InspectedProperty const& oProperty : oObject.lProperties) {
        std::string const szName = oProperty.pKnown->szName + AddressSuffix(oProperty);
        char szHead[100];
        std::snprintf(szHead, sizeof szHead, "%s %c %-46s ", FourCharText(oProperty.pKnown->nSelector).c_str(),
                      oProperty.bSettable ? '*' : ' ', szName.c_str());
        szText += szIndent + "   " + szHead + ValueLine(oProperty.oText) + "\n";
    }
    szText += "\n";
    for (InspectedObject const& oOwned : oObject.lOwned)
        AddText(szText, oOwned, nIndent + 4);
}

std::string JsonText(std::string const& szText) {
    std::string szJson = "\"";
    for (char const c : szText) {
        char szEscape[8];
        if (c == '"' || c == '\\')
            (szJson += '\\') += c;
        else if (static_cast<unsigned char>(c) < 0x20)
            std::snprintf(szEscape, sizeof szEscape, "\\u%04x", c), szJson += szEscape;
        else
            szJson += c;
    }
    return szJson + "\"";
}

std::string Code(UInt32 nCode) {
    std::string const szQuoted = FourCharText(nCode);
    return JsonText(szQuoted.substr(1, szQuoted.size() - 2));
}

std::string Codes(std::vector<AudioObjectPropertyScope> const& lCodes) {
    std::string szList;
    for (UInt32 const nCode : lCodes)
        szList += (szList.empty() ? "" : ", ") + Code(nCode);
    return "[" + szList + "]";
}

std::string JsonValue(PropertyText const& oText) {
    if (oText.nResult != 0)
        return "null, \"refused\": " + Code(static_cast<UInt32>(oText.nResult));
    if (!oText.bList)
        return JsonText(oText.lValues.empty() ? "" : oText.lValues.front());
    std::string szList;
    for (std::string const& szValue : oText.lValues)
        szList += (szList.empty() ? "" : ", ") + JsonText(szValue);
    return "[" + szList + "]";
}

void AddJson(std::string& szJson, InspectedObject const& oObject) {
    szJson += "{\"object\": " + std::to_string(oObject.nObject) + ", \"class\": " + Code(oObject.nClass) +
              ", \"properties\": [";
    char const* szSeparator = "\n";
    for (InspectedProperty const& o : oObject.lProperties) {
        szJson += szSeparator + ("{\"selector\": " + Code(o.oAddress.mSelector)) + ", \"scopes\": " + Codes(o.lScopes) +
                  ", \"element\": " + std::to_string(o.oAddress.mElement) +
                  ", \"name\": " + JsonText(o.pKnown->szName) + ", \"settable\": " + (o.bSettable ? "true" : "false") +
                  ", \"value\": " + JsonValue(o.oText) + "}";
        szSeparator = ",\n";
    }
    szJson += "],\n\"owned\": [";
    szSeparator = "\n";
    for (InspectedObject const& oOwned : oObject.lOwned) {
        szJson += szSeparator;
        AddJson(szJson, oOwned);
        szSeparator = ",\n";
    }
    szJson += "]}";
}

} // namespace

InspectedObject InspectTree(DriverView const& oDriver) {
    return InspectObject(oDriver, kPlugInObject, kAudioObjectUnknown, 0);
}

std::string TreeAsText(InspectedObject const& oRoot) {
    std::string szText;
    AddText(szText, oRoot, 0);
    return szText + "* can be set. Scope and element are shown where they are not global and main.\n";
}

std::string TreeAsJson(InspectedObject const& oRoot) {
    std::string szJson;
    AddJson(szJson, oRoot);
    return szJson + "\n";
}
