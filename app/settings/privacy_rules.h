// What may be captured, and what is shown before it is sent. Pure; any thread.

#pragma once

#include "app/settings/settings.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// Whether a service at this address is on this machine: over a Unix socket, or at a loopback host.
[[nodiscard]] bool isThisMachine(std::string_view serviceBase);

/// Where work goes, for people: "this machine", or the host.
[[nodiscard]] std::string placeName(std::string_view serviceBase);

/// Whether the person sees work of the application `bundleId` before it is sent. What was said of
/// that application wins over what was said of all.
[[nodiscard]] bool previewNeeded(const Settings& settings, bool placeIsThisMachine,
                                 std::string_view bundleId);

/// Whether nothing may be captured from that application.
[[nodiscard]] bool isNeverCaptured(const Settings& settings, std::string_view bundleId);

/// Whether it is known to keep passwords, or asks for one.
[[nodiscard]] bool isPasswordManager(std::string_view bundleId);

/// Why nothing may be captured now, a sentence for the user; absent when it may. `app` is the
/// application's name; `pauseLeft` is absent when there is no pause.
[[nodiscard]] std::optional<std::string>
whyNotCaptured(const Settings& settings, std::string_view bundleId, const std::string& app,
               const std::optional<std::chrono::nanoseconds>& pauseLeft);

} // namespace kelvane
