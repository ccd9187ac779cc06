// The plug-in's objects as a tree, with everything that they answer.
#pragma once

#include "tools/inspect/property_text.h"

#include <string>
#include <vector>

struct InspectedProperty {
    KnownProperty const* pKnown = nullptr;
    AudioObjectPropertyAddress oAddress = {};      // the first that answers this
    std::vector<AudioObjectPropertyScope> lScopes; // all that answer the same
    bool bSettable = false;
    PropertyText oText;
};

struct InspectedObject {
    AudioObjectID nObject = 0;
    AudioClassID nClass = 0;
    std::vector<InspectedProperty> lProperties;
    std::vector<InspectedObject> lOwned;
};

// Walks from the plug-in object along the owned-objects lists. A property that answers alike at several addresses is
// kept once, at the first of them.
InspectedObject InspectTree(DriverView const& oDriver);

std::string TreeAsText(InspectedObject const& oRoot);
std::string TreeAsJson(InspectedObject const& oRoot);
