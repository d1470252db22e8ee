// The protocol of layers, as the scanner writes it for C: there the name of a parameter may be what
// is a word of this language.

#pragma once

// What it includes itself comes first, and keeps its words.
#include <cstddef>
#include <cstdint>

#include <wayland-client.h>

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define namespace scope
#include <wlr-layer-shell-unstable-v1-client-protocol.h>
#undef namespace
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
