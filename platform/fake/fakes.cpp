#include "platform/fake/fakes.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelvane {

SleepEnd FakeClock::sleep(std::chrono::nanoseconds duration) {
    m_journal.add("sleep " + std::to_string(duration.count()) + "ns");
    sleeps.push_back(duration);
    SleepEnd end = SleepEnd::Elapsed;
    if (!sleepEnds.empty()) {
        end = sleepEnds.front();
        sleepEnds.pop_front();
    }
    if (end == SleepEnd::Elapsed) time += std::max(duration, std::chrono::nanoseconds::zero());
    if (onSleep) onSleep(time);
    return end;
}

namespace {

bool runOldest(std::deque<std::function<void()>>& lane) {
    if (lane.empty()) return false;
    const auto job = std::move(lane.front());
    lane.pop_front();
    job();
    return true;
}

} // namespace

bool FakeDispatcher::runOneInBackground() {
    return runOldest(m_background);
}

bool FakeDispatcher::runOneOnMain() {
    return runOldest(m_main);
}

void FakeDispatcher::runAll() {
    while (runOneOnMain() || runOneInBackground()) {
    }
}

std::optional<std::string> FakeEnvironment::get(std::string_view name) {
    const auto found = variables.find(name);
    if (found == variables.end()) return std::nullopt;
    return found->second;
}

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

std::filesystem::path FakeFileSystem::resolve(const std::filesystem::path& path) {
    const auto place = withoutTrailingSlash(path.lexically_normal());
    for (const auto& [link, leadsTo] : links) {
        if (place == link) return leadsTo;
        if (isBelow(place, link)) return leadsTo / place.lexically_relative(link);
    }
    return place;
}

std::optional<std::filesystem::path> FakeBundleResources::url(std::string_view name,
                                                              std::string_view extension) {
    std::string file(name);
    if (!extension.empty()) file.append(".").append(extension);
    const auto found = resources.find(file);
    if (found == resources.end()) return std::nullopt;
    return found->second;
}

std::optional<HttpResponse> FakeHttpSession::send(const HttpRequest& request) {
    m_journal.add(request.method + " " + request.url);
    requests.push_back(request);
    if (!request.url.starts_with("http://") && !request.url.starts_with("https://")) {
        return std::nullopt;
    }
    return answer ? answer(request) : std::nullopt;
}

bool FakeKeyboard::trusted() {
    if (trustedAnswers.empty()) return isTrusted;
    const bool answer = trustedAnswers.front();
    trustedAnswers.pop_front();
    return answer;
}

void FakeKeyboard::postCopy(ProcessId target) {
    m_journal.add("copy " + std::to_string(target));
    if (isTrusted && onCopy) onCopy(target);
}

void FakePasteboard::copyText(std::optional<std::string> newText) {
    text = std::move(newText);
    ++count;
}

std::optional<std::string> FakePasteboard::string() {
    ++timesRead;
    return text;
}

std::int64_t FakePasteboard::changeCount() {
    ++timesRead;
    return count;
}

void FakePasteboard::clearContents() {
    m_journal.add("clear");
    text.reset();
    ++count;
}

void FakePasteboard::setString(std::string_view newText) {
    m_journal.add("set " + std::string(newText));
    text = newText;
}

std::optional<std::size_t> FakeDialogs::show(const Alert& alert) {
    m_journal.add("alert " + alert.message);
    shown.push_back(alert);
    if (answers.empty()) return std::nullopt;
    const auto answer = answers.front();
    answers.pop_front();
    return answer;
}

bool FakeUrlOpener::open(std::string_view url) {
    if (invalid.contains(url)) return false;
    m_journal.add("open " + std::string(url));
    opened.emplace_back(url);
    return true;
}

std::optional<AppIcon> FakeAppIcons::icon(std::string_view bundleId) {
    const auto found = icons.find(bundleId);
    if (found == icons.end()) return std::nullopt;
    return found->second;
}

namespace {

/// Has ended before anybody waits for it.
class FakeProcess : public RunningProcess {
public:
    explicit FakeProcess(ProcessResult result) : m_result(std::move(result)) {}
    ProcessResult finish() override { return std::move(m_result); }

private:
    ProcessResult m_result;
};

} // namespace

std::unique_ptr<RunningProcess> FakeProcessRunner::start(const ProcessRequest& request) {
    std::string line = request.program;
    for (const auto& argument : request.arguments) line += " " + argument;
    m_journal.add(std::move(line));
    requests.push_back(request);
    std::optional<ProcessResult> result;
    if (answer) {
        result = answer(request);
    } else if (const auto found = results.find(request.program); found != results.end()) {
        result = found->second;
    }
    if (!result) return nullptr;
    if (onRun) onRun(request);
    if (request.output == ProcessOutput::Inherit) result->output.clear();
    return std::make_unique<FakeProcess>(*std::move(result));
}

std::optional<std::vector<WindowInfo>> FakeWindowList::onScreenWindows() {
    m_journal.add("windows");
    return windows;
}

std::optional<std::string> FakeWindowPicture::png(std::int64_t windowNumber) {
    m_journal.add("picture " + std::to_string(windowNumber));
    const auto found = pictures.find(windowNumber);
    if (found == pictures.end()) return std::nullopt;
    return found->second;
}

std::optional<RunningApp> FakeWorkspace::frontmost() {
    const auto found = std::find_if(running.begin(), running.end(),
                                    [&](const RunningApp& app) { return app.pid == front; });
    if (found == running.end()) return std::nullopt;
    return *found;
}

bool FakeWorkspace::activate(ProcessId pid) {
    m_journal.add("activate " + std::to_string(pid));
    const bool runs = std::any_of(running.begin(), running.end(),
                                  [&](const RunningApp& app) { return app.pid == pid; });
    if (!runs) return false;
    if (onActivate) {
        onActivate(pid);
    } else {
        front = pid;
    }
    return true;
}

} // namespace kelvane
