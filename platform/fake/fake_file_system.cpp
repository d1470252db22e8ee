#include "platform/fake/fake_file_system.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelvane {

namespace {

/// Whether `path` lies somewhere below `folder`.
bool isBelow(const std::filesystem::path& path, const std::filesystem::path& folder) {
    const auto split = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return split.first == folder.end() && split.second != path.end();
}

std::filesystem::path withoutTrailingSlash(const std::filesystem::path& path) {
    return path.has_filename() || path == path.root_path() ? path : path.parent_path();
}

} // namespace

bool FakeFileSystem::isFolder(const std::filesystem::path& path) const {
    const auto below = [&](const std::filesystem::path& other) { return isBelow(other, path); };
    return path == path.root_path() || folders.contains(path) ||
           std::any_of(folders.begin(), folders.end(), below) ||
           std::any_of(unreadable.begin(), unreadable.end(), below) ||
           std::any_of(files.begin(), files.end(),
                       [&](const auto& file) { return below(file.first); });
}

bool FakeFileSystem::isFile(const std::filesystem::path& path) const {
    return files.contains(path) || (unreadable.contains(path) && !isFolder(path));
}

std::optional<std::string> FakeFileSystem::read(const std::filesystem::path& path) {
    m_journal.add("read " + path.string());
    const auto found = files.find(path);
    if (found == files.end() || unreadable.contains(path)) return std::nullopt;
    return found->second;
}

bool FakeFileSystem::exists(const std::filesystem::path& path) {
    return files.contains(path) || unreadable.contains(path) ||
           isFolder(withoutTrailingSlash(path));
}

std::optional<FileGuard> FakeFileSystem::guard(const std::filesystem::path& path) {
    if (path.empty() || !exists(path)) return std::nullopt;
    const auto found = guards.find(path);
    return found == guards.end() ? FileGuard{} : found->second;
}

bool FakeFileSystem::createDirectories(const std::filesystem::path& path) {
    m_journal.add("mkdir " + path.string());
    const auto folder = withoutTrailingSlash(path);
    if (isFolder(folder)) return true;
    for (auto step = folder; step != step.root_path(); step = step.parent_path()) {
        if (unwritable.contains(step) || files.contains(step) || unreadable.contains(step)) {
            return false;
        }
    }
    folders.insert(folder);
    return true;
}

bool FakeFileSystem::writeAtomically(const std::filesystem::path& path, std::string_view bytes) {
    m_journal.add("write " + path.string());
    if (unwritable.contains(path) || !path.has_filename() || isFolder(path) ||
        !isFolder(path.parent_path())) {
        return false;
    }
    files[path] = bytes;
    return true;
}

bool FakeFileSystem::writePrivately(const std::filesystem::path& path, std::string_view bytes) {
    const auto folder = path.parent_path();
    if (!unwritable.contains(folder) && !isFile(folder)) folders.insert(folder);
    if (!writeAtomically(path, bytes)) return false;
    m_journal.add("private " + path.string());
    return true;
}

bool FakeFileSystem::remove(const std::filesystem::path& path) {
    m_journal.add("remove " + path.string());
    if (unwritable.contains(path) || files.erase(path) + unreadable.erase(path) == 0) return false;
    folders.insert(path.parent_path());
    return true;
}

std::optional<std::vector<std::string>> FakeFileSystem::list(const std::filesystem::path& folder) {
    m_journal.add("list " + folder.string());
    const auto place = withoutTrailingSlash(folder);
    if (place.empty() || !isFolder(place) || unreadable.contains(place)) return std::nullopt;
    std::set<std::string> names;
    const auto note = [&](const std::filesystem::path& path) {
        if (!isBelow(path, place)) return;
        names.insert(std::next(path.begin(), std::distance(place.begin(), place.end()))->string());
    };
    for (const auto& [path, bytes] : files) note(path);
    for (const auto& path : folders) note(path);
    for (const auto& path : unreadable) note(path);
    return std::vector<std::string>(names.begin(), names.end());
}

bool FakeFileSystem::removeTree(const std::filesystem::path& path) {
    m_journal.add("remove-tree " + path.string());
    const auto top = withoutTrailingSlash(path);
    if (top == top.root_path() || !(isFile(top) || isFolder(top))) return false;
    const auto goes = [&](const std::filesystem::path& other) {
        return other == top || isBelow(other, top);
    };
    if (std::ranges::any_of(unwritable, goes)) return false;
    std::erase_if(files, [&](const auto& file) { return goes(file.first); });
    std::erase_if(folders, goes);
    std::erase_if(unreadable, goes);
    folders.insert(top.parent_path());
    return true;
}

bool FakeFileSystem::copyTree(const std::filesystem::path& from, const std::filesystem::path& to) {
    m_journal.add("copy-tree " + from.string() + " -> " + to.string());
    const auto source = withoutTrailingSlash(from);
    const auto target = withoutTrailingSlash(to);
    if (source == source.root_path() || target == source || isBelow(target, source)) return false;
    if (isFile(target) || isFolder(target) || !isFolder(target.parent_path())) return false;
    if (unwritable.contains(target) || !(isFile(source) || isFolder(source))) return false;
    const auto isTaken = [&](const std::filesystem::path& path) {
        return path == source || isBelow(path, source);
    };
    if (std::ranges::any_of(unreadable, isTaken)) return false;
    const auto moved = [&](const std::filesystem::path& path) {
        return path == source ? target : target / path.lexically_relative(source);
    };
    std::map<std::filesystem::path, std::string> newFiles;
    std::set<std::filesystem::path> newFolders;
    for (const auto& [path, bytes] : files) {
        if (isTaken(path)) newFiles.emplace(moved(path), bytes);
    }
    for (const auto& path : folders) {
        if (isTaken(path)) newFolders.insert(moved(path));
    }
    if (isFolder(source)) newFolders.insert(target);
    files.merge(newFiles);
    folders.merge(newFolders);
    return true;
}

bool FakeFileSystem::exchange(const std::filesystem::path& from, const std::filesystem::path& to) {
    m_journal.add("exchange " + from.string() + " <-> " + to.string());
    const auto one = withoutTrailingSlash(from);
    const auto other = withoutTrailingSlash(to);
    if (one == one.root_path() || other == other.root_path() || !(isFile(one) || isFolder(one)) ||
        !isFolder(other.parent_path()) || isBelow(one, other) || isBelow(other, one)) {
        return false;
    }
    if (unwritable.contains(one) || unwritable.contains(other)) return false;
    const auto moved = [&](const std::filesystem::path& path) {
        const auto on = [&](const std::filesystem::path& top, const std::filesystem::path& place) {
            return path == top ? place : place / path.lexically_relative(top);
        };
        if (path == one || isBelow(path, one)) return on(one, other);
        if (path == other || isBelow(path, other)) return on(other, one);
        return path;
    };
    std::map<std::filesystem::path, std::string> newFiles;
    for (auto& [path, bytes] : files) newFiles.emplace(moved(path), std::move(bytes));
    files = std::move(newFiles);
    for (auto* paths : {&folders, &unreadable}) {
        std::set<std::filesystem::path> places;
        for (const auto& path : *paths) places.insert(moved(path));
        *paths = std::move(places);
    }
    folders.insert(one.parent_path());
    return true;
}

std::filesystem::path FakeFileSystem::resolve(const std::filesystem::path& path) {
    auto place = withoutTrailingSlash(path.lexically_normal());
    for (const auto& [link, leadsTo] : links) {
        if (place == link) return leadsTo;
        if (isBelow(place, link)) return leadsTo / place.lexically_relative(link);
    }
    return place;
}

} // namespace kelvane
