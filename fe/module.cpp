// Start-up and shutdown of the engine.
#include "fe/base/trace.h"
#include "fe/bridge_runtime.h"
#include "fe/kernel.h"
#include "pppoeia/fe.h"

#include <cerrno>
#include <vector>

using namespace ia;

namespace {

// A module of another version is reported, not refused.
void check_version(const ControlFile &file, unsigned long request, const char *module,
                   int expected) {
    std::int32_t version = 0;
    if (file.request(request, &version) < 0)
        pppoeia_log(2, "Kernel module '%s' too old.", module);
    else if (version != expected)
        pppoeia_log(2, "Kernel module '%s' version mismatch (%d instead of %d).", module, version,
                    expected);
}

// All workers are asked to stop first, so that they end at the same time.
void release_bridges() {
    const std::vector<BridgePtr> bridges = bridge_list_release();
    for (const BridgePtr &bridge : bridges)
        if (bridge->runtime) bridge->runtime->stop = true;
    for (const BridgePtr &bridge : bridges) {
        trace_call("fe_pppoeia_bridge_del", bridge->name);
        end_bridge(*bridge);
    }
}

}  // namespace

int fe_pppoeia_init() {
    const std::scoped_lock exclusive(lifecycle);
    if (bridge_list_exists()) pppoeia_log(4, "Already initialized.");
    {
        const ControlFile kvmng(KVMNG_CONFIG_PATH);
        if (!kvmng.is_open()) {
            const int reason = errno;
            pppoeia_log(2, "Unable to contact kernel module 'kvmng'.");
            release_bridges();
            return reason;
        }
        check_version(kvmng, KVMNG_IOC_GET_VERSION, "kvmng", KVMNG_VERSION);
    }
    const ControlFile kvbridge(KVBRIDGE_CONFIG_PATH);
    if (!kvbridge.is_open()) {
        pppoeia_log(2, "Unable to contact kernel module 'kvbridge'.");
        release_bridges();
        return -1;
    }
    check_version(kvbridge, KVBRIDGE_IOC_GET_VERSION, "kvbridge", KVBRIDGE_VERSION);
    release_bridges();
    if (!bridge_list_create()) {
        pppoeia_log(2, "Cannot allocate memory.");
        return -ENOMEM;
    }
    return 0;
}

int fe_pppoeia_fini() {
    const std::scoped_lock exclusive(lifecycle);
    if (!bridge_list_exists()) {
        pppoeia_log(4, "PPPoE IA not initialized.");
        return -ENOENT;
    }
    release_bridges();
    return 0;
}

int fe_ppppoeia_conf_event(std::uint32_t) {
    return 0;
}
