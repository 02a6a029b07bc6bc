// SPDX-FileCopyrightText: 2026 The Airnote developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Clicks at a point of a wlroots compositor's output through a virtual pointer,
// as a listener's mouse would: what the Wayland rig uses to reach the tray host.
// Usage: pointer_click <output width> <output height> <x> <y> left|right|none

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <ctime>

#include <linux/input-event-codes.h>

namespace {

zwlr_virtual_pointer_manager_v1 *manager = nullptr;

void announce(void *, wl_registry *registry, uint32_t name, const char *interface, uint32_t)
{
    if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0)
        manager = static_cast<zwlr_virtual_pointer_manager_v1 *>(
            wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
}

void withdraw(void *, wl_registry *, uint32_t) {}

const wl_registry_listener registryListener = {announce, withdraw};

uint32_t nowMs()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

// Gives the compositor and its clients time to see one step before the next,
// as a hand would: GTK ignores a press that arrives with the pointer's entry.
void settle(wl_display *display)
{
    wl_display_roundtrip(display);
    const timespec pause {0, 150 * 1000 * 1000};
    nanosleep(&pause, nullptr);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s <output width> <output height> <x> <y> left|right|none\n", argv[0]);
        return 2;
    }
    const uint32_t width = std::strtoul(argv[1], nullptr, 10), height = std::strtoul(argv[2], nullptr, 10);
    const uint32_t x = std::strtoul(argv[3], nullptr, 10), y = std::strtoul(argv[4], nullptr, 10);
    const bool none = std::strcmp(argv[5], "none") == 0;
    const uint32_t button = std::strcmp(argv[5], "right") == 0 ? BTN_RIGHT : BTN_LEFT;

    wl_display *display = wl_display_connect(nullptr);
    if (!display) {
        std::fprintf(stderr, "pointer_click: no Wayland display\n");
        return 1;
    }
    wl_registry *registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, nullptr);
    wl_display_roundtrip(display);
    if (!manager) {
        std::fprintf(stderr, "pointer_click: the compositor offers no virtual pointer\n");
        return 1;
    }
    zwlr_virtual_pointer_v1 *pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
    settle(display);
    // Arrive from a pixel away, so that the target sees the pointer enter, then move.
    for (const uint32_t step : {1u, 0u}) {
        zwlr_virtual_pointer_v1_motion_absolute(pointer, nowMs(), x + step, y + step, width, height);
        zwlr_virtual_pointer_v1_frame(pointer);
        settle(display);
    }
    if (!none) {
        for (const uint32_t state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
            zwlr_virtual_pointer_v1_button(pointer, nowMs(), button, state);
            zwlr_virtual_pointer_v1_frame(pointer);
            settle(display);
        }
    }
    zwlr_virtual_pointer_v1_destroy(pointer);
    zwlr_virtual_pointer_manager_v1_destroy(manager);
    wl_registry_destroy(registry);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
    return 0;
}
