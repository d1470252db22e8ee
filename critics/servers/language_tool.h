// What a LanguageTool server of the user's own is asked, and what its answer is worth.
//
// It grades for writers who look over every hint; here its word goes into a verdict. So what it
// calls a fault of grammar or a misspelling counts, and hints about style, typography and choice
// of words are dropped. Pure; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/servers/own_servers.h"
#include "critics/text/secret_shapes.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <string_view>

namespace trevix {

/// Bytes of a text that are sent: what the server takes in one request without settings of its own
/// is 60,000 characters and up. The rest is a gap.
constexpr std::size_t kMostForLanguageTool = 50'000;
constexpr std::chrono::milliseconds kLanguageToolTime{20'000};

constexpr std::string_view kLanguageToolJudges = "grammar and spelling, as LanguageTool knows them";

/// Asks about the beginning of a text. Code and addresses, which are no prose, and `secrets` are
/// sent as blanks, so that offsets stay what they are.
[[nodiscard]] ServerRequest languageToolRequest(const ServerAddress& address, std::string_view text,
                                                std::span<const Secret> secrets);

/// What the answer makes of the text. Findings quote the text, never the answer.
[[nodiscard]] Critique critiqueOfLanguageTool(std::string_view text,
                                              std::span<const Secret> secrets,
                                              const ServerAnswer& answer);

} // namespace trevix
