// Whatever the service answers: a grade and an iterate end, in a verdict that does not contradict
// itself.
//
// The input is the script of the answers, parted by a byte that JSON never holds. The first byte of
// each answer picks its status; when the script is over nobody answers any more.

#include "eval/eval_bridge.h"
#include "platform/fake/fakes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

using namespace kelvane;

namespace {

constexpr char kSeparator = '\x1e';
constexpr std::array kStatuses{200, 200, 200, 200, 0, 204, 302, 399, 400, 401, 403, 404, 500, 599};

void require(bool holds) {
    if (!holds) std::abort();
}

class Script {
public:
    explicit Script(std::string_view bytes) : m_rest(bytes) {}

    std::optional<HttpResponse> next() {
        if (m_rest.empty()) return std::nullopt;
        const std::size_t end = m_rest.find(kSeparator);
        std::string_view piece = m_rest.substr(0, end);
        m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        if (piece.empty()) return std::nullopt;
        const auto pick = static_cast<unsigned char>(piece.front());
        piece.remove_prefix(1);
        return HttpResponse{kStatuses[pick % kStatuses.size()], std::string(piece)};
    }

private:
    std::string_view m_rest;
};

void requireSound(const Verdict& verdict) {
    if (verdict.error) {
        require(verdict.band == Band::unknown && !verdict.score && verdict.flaws.empty());
        require(!verdict.runId);
    }
    require(!verdict.warming || verdict.error == "grade timed out after 420s");
    require(!verdict.score || *verdict.score == *verdict.score);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    FakePlatform machine;
    machine.environment.variables["BRASK_API_BASE"] = "https://service.test";
    const EvalBridge::Ports ports{machine.environment, machine.http, machine.clock};

    Script graded(bytes);
    machine.http.answer = [&](const HttpRequest&) { return graded.next(); };
    requireSound(EvalBridge::grade(ports, {}, "text", std::nullopt, std::nullopt, "", "k"));
    // One submission, at most a poll for every 1.5 s of the deadline, one fetch.
    require(machine.http.requests.size() <= 1 + 280 + 1);

    Script iterated(bytes);
    machine.http.answer = [&](const HttpRequest&) { return iterated.next(); };
    const Verdict verdict = EvalBridge::iterate(ports, "r", {}, "", "k");
    requireSound(verdict);
    require(verdict.error.has_value() != verdict.runId.has_value());
    return 0;
}
