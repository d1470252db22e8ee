#include "text/translation.h"

#include <memory>
#include <mutex>
#include <utility>

namespace kelvane::text {

namespace {

struct Current {
    std::mutex mutex;
    std::shared_ptr<const Translator> translator;
};

Current& current() {
    static Current current;
    return current;
}

std::shared_ptr<const Translator> translatorNow() {
    const std::lock_guard lock(current().mutex);
    return current().translator;
}

std::optional<std::string> asked(const Phrase& phrase) {
    const auto translator = translatorNow();
    return translator ? (*translator)(phrase) : std::nullopt;
}

} // namespace

void useTranslator(Translator translator) {
    auto next = translator ? std::make_shared<const Translator>(std::move(translator)) : nullptr;
    const std::lock_guard lock(current().mutex);
    current().translator = std::move(next);
}

std::string translated(const char* context, const char* source) {
    return asked({.context = context, .source = source}).value_or(source);
}

std::string translated(const char* context, const char* one, const char* many, std::size_t count) {
    // Forms depend on the last digits alone, in every language.
    constexpr std::size_t kMost = 1'000'000'000;
    const auto decisive = static_cast<int>(count < kMost ? count : kMost + count % kMost);
    std::string text = asked({.context = context, .source = one, .many = many, .count = decisive})
                           .value_or(count == 1 ? one : many);
    const std::string number = std::to_string(count);
    for (auto at = text.find("%n"); at != std::string::npos; at = text.find("%n", at)) {
        text.replace(at, 2, number);
        at += number.size();
    }
    return text;
}

std::string filled(std::string_view pattern, std::initializer_list<std::string_view> values) {
    std::string text;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const char next = at + 1 < pattern.size() ? pattern[at + 1] : '\0';
        const bool isHole = pattern[at] == '%' && next >= '1' && next <= '9';
        const auto place = static_cast<std::size_t>(next - '1');
        if (!isHole || place >= values.size()) {
            text += pattern[at];
            continue;
        }
        text += values.begin()[place];
        ++at;
    }
    return text;
}

} // namespace kelvane::text
