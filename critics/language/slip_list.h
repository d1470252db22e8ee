// A list of slips that people are known to make, each with what was meant.
//
// It is somebody else's, read where it is installed; a second opinion beside a dictionary. Values;
// any thread.

#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace trevix {

class SlipList {
public:
    /// Lines of "slip->meant" or "slip->meant, or meant,", as codespell has them. Others are passed
    /// over.
    explicit SlipList(std::string text);

    SlipList(const SlipList&) = delete;
    SlipList& operator=(const SlipList&) = delete;

    /// What was meant by a word in lower case, the first of several; empty when it is no known
    /// slip.
    [[nodiscard]] std::string_view meantBy(std::string_view slip) const;
    [[nodiscard]] std::size_t size() const { return m_meant.size(); }

private:
    std::string m_text; // What the views look into.
    std::unordered_map<std::string_view, std::string_view> m_meant;
};

/// Where systems have codespell's list.
[[nodiscard]] std::vector<std::filesystem::path> slipListFiles();

/// The list in the first of the files that is there; none without one, or when it is larger than
/// such a list can be.
[[nodiscard]] std::shared_ptr<const SlipList>
readSlipList(const std::vector<std::filesystem::path>& files);

} // namespace trevix
