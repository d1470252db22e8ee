// What a model of the user's own is asked about a piece of work, and what its answer is worth.
//
// The model runs behind an OpenAI-compatible chat server. It is asked window by window, at
// temperature 0, for JSON by a schema. Its word is advice: what it says counts only where it quotes
// the work word for word, weighs medium at most, and no band is worse for it (see
// `verdict_rule.h`). The work is data: what it says to the model is the model's affair, and nothing
// that others found hangs on the answer. Pure; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/findings/rule.h"
#include "critics/servers/own_servers.h"
#include "critics/text/secret_shapes.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct ModelChoice {
    ServerAddress address;
    std::string model; ///< As its server calls it: "qwen2.5:7b".
    std::string key;   ///< Of the server; empty where it wants none.

    bool operator==(const ModelChoice&) const = default;
};

/// Bytes of the work in one question: some 2,000 tokens, which the smallest windows of models have
/// room for beside the instructions and the answer.
constexpr std::size_t kModelWindow = 8'000;
/// Windows of one part. The rest of a longer one is a gap.
constexpr std::size_t kMostModelWindows = 6;
/// Of one answer: some thousand tokens at the pace of a small model on a processor.
constexpr std::chrono::milliseconds kModelAnswerTime{60'000};
/// Of all answers about one part. With kMostModelParts it stays below what the clients wait for a
/// verdict, which is 270 seconds at least.
constexpr std::chrono::milliseconds kModelPartTime{90'000};
/// Parts of one submission that a model is asked about.
constexpr std::size_t kMostModelParts = 2;
constexpr int kMostModelTokens = 1024;
constexpr std::size_t kMostModelBytes = std::size_t{256} << 10U;
/// Findings that are taken of one answer.
constexpr std::size_t kMostModelRemarks = 20;
/// Characters of a quote. Shorter ones stand everywhere.
constexpr std::size_t kShortestQuote = 4;
constexpr std::size_t kLongestQuote = 300;

struct ModelWindow {
    std::size_t begin = 0; ///< Offsets in the part's text.
    std::size_t end = 0;

    bool operator==(const ModelWindow&) const = default;
};

/// The text cut into windows at the ends of lines, or between characters where a line is longer.
/// None of a text that is only blanks.
[[nodiscard]] std::vector<ModelWindow> modelWindowsOf(std::string_view text);

/// Asks about one window of a part. Of `secrets`, those of the whole part, nothing is sent: a mark
/// stands for each.
[[nodiscard]] ServerRequest reviewRequest(const ModelChoice& choice, WorkKind kind,
                                          std::string_view text, ModelWindow window,
                                          std::span<const Secret> secrets,
                                          std::chrono::milliseconds time);

/// What the model said of one window, as it stands in its answer.
struct ModelRemark {
    std::string quote;
    std::string aspect; ///< One of `modelAspects`.
    bool grave = false; ///< Medium; low otherwise.
    std::string says;

    bool operator==(const ModelRemark&) const = default;
};

/// What a remark may be about: "contradiction", "mistake", "unclear", "incomplete", "language".
[[nodiscard]] std::span<const std::string_view> modelAspects();

struct ModelReading {
    std::vector<ModelRemark> remarks;
    std::string trouble;   ///< Why nothing is to be had, a clause; empty otherwise.
    bool hopeless = false; ///< The next question would end likewise: nobody is there, or it hangs.
    bool operator==(const ModelReading&) const = default;
};

[[nodiscard]] ModelReading readReview(const ServerAnswer& answer, std::chrono::milliseconds time);

/// What the readings of the windows, in their order and as many as were asked about, make of the
/// part. `all` is how many windows it has.
[[nodiscard]] Critique critiqueOfReview(const ModelChoice& choice, std::string_view text,
                                        std::span<const ModelWindow> windows,
                                        std::span<const ModelReading> readings, std::size_t all,
                                        std::span<const Secret> secrets);

/// What a model judges, for people; the same in the list of engines and in a coverage.
constexpr std::string_view kModelJudges = "meaning, as advice";

/// Who judged, for people: "the model qwen2.5:7b".
[[nodiscard]] std::string modelName(const ModelChoice& choice);

} // namespace trevix
