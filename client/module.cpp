// Client functions for the engine as a whole, and for its diagnostics.
#include "client/request.h"
#include "pppoeia/client.h"

int pppoeia_init() {
    return ia::call<pppoeia_init>();
}

int pppoeia_fini() {
    return ia::call<pppoeia_fini>();
}

int pppoeia_log_level_set(std::int32_t level) {
    return ia::call<pppoeia_log_level_set>(level);
}

int pppoeia_debug_admin_state_set(std::uint32_t state) {
    return ia::call<pppoeia_debug_admin_state_set>(state);
}

int pppoeia_bridge_debug_set(const char *bridge, std::uint32_t on) {
    return ia::call<pppoeia_bridge_debug_set>(bridge, on);
}

int ppppoeia_conf_event(std::uint32_t event) {
    return ia::call<ppppoeia_conf_event>(event);
}

int pppoeia_dump(const char *bridge, std::uint32_t port, const char *tty) {
    return ia::call<pppoeia_dump>(bridge, port, tty);
}

int pppoeia_test_dump(const char *bridge, const char *tty) {
    return ia::call<pppoeia_test_dump>(bridge, tty);
}

int pppoeia_test_set(const char *bridge, const char *key, const char *value, const char *tty) {
    return ia::call<pppoeia_test_set>(bridge, key, value, tty);
}

int pppoeia_test_run(const char *bridge, const char *command, const char *mode, const char *tty) {
    return ia::call<pppoeia_test_run>(bridge, command, mode, tty);
}

int pppoeia_test_debug(const char *bridge, std::uint32_t on, const char *tty) {
    return ia::call<pppoeia_test_debug>(bridge, on, tty);
}
