#include "tools/host/host.h"
#include "tools/host/plugin_bundle.h"
#include "tools/inspect/inspect_command.h"
#include "tools/inspect/object_tree.h"
#include "tools/process/failure.h"
#include "tools/process/private_folder.h"

#include <cstdio>

int RunInspect(InspectOptions const& oOptions) {
    PluginBundle const oBundle(oOptions.szBundle);
    PrivateFolder const oState;   // looking at the device leaves nothing behind
    static Host* pHost = nullptr; // the driver's code stays loaded and may call it
    pHost = new Host(oState.Path(), nullptr);
    DriverView const oDriver(oBundle.Driver());
    if ((*oDriver.Ref())->Initialize(oDriver.Ref(), pHost->Ref()) != 0)
        throw Failure(ExitCode::Service, "the driver refuses to initialize.");
    InspectedObject const oRoot = InspectTree(oDriver);
    std::fputs((oOptions.bJson ? TreeAsJson(oRoot) : TreeAsText(oRoot)).c_str(), stdout);
    return static_cast<int>(ExitCode::Success);
}
