#include "platform/linux/common/read_selection.h"

#include <string_view>
#include <utility>

namespace kelvane {

void ReadSelection::set(std::optional<std::string> text) {
    const std::lock_guard lock(m_mutex);
    m_text = std::move(text);
    if (m_text) ++m_changes;
}

std::optional<std::string> ReadSelection::text() const {
    const std::lock_guard lock(m_mutex);
    return m_text;
}

std::int64_t ReadSelection::changes() const {
    const std::lock_guard lock(m_mutex);
    return m_changes;
}

namespace {

class ReadPasteboard : public Pasteboard {
public:
    explicit ReadPasteboard(std::shared_ptr<ReadSelection> selection)
        : m_selection(std::move(selection)) {}

    std::optional<std::string> string() override { return m_selection->text(); }
    std::int64_t changeCount() override { return m_selection->changes(); }
    void clearContents() override { m_selection->set(std::nullopt); }
    void setString(std::string_view) override {}
    PasteboardMemory remember() override {
        m_selection->set(std::nullopt);
        return {.string = std::nullopt, .changeCount = m_selection->changes(), .formats = nullptr};
    }
    void putBack(const PasteboardMemory&) override { m_selection->set(std::nullopt); }

private:
    std::shared_ptr<ReadSelection> m_selection;
};

} // namespace

std::unique_ptr<Pasteboard> makeReadPasteboard(std::shared_ptr<ReadSelection> selection) {
    return std::make_unique<ReadPasteboard>(std::move(selection));
}

} // namespace kelvane
