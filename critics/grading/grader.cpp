#include "critics/grading/grader.h"

#include "critics/engines/merge_findings.h"
#include "critics/worker/work_codec.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <numeric>
#include <string_view>
#include <thread>
#include <utility>

namespace trevix {

namespace {

// A frame is the length of what follows in eight bytes, the least first, and an encoded critique.
constexpr std::size_t kLengthBytes = 8;

std::string framed(const std::string& bytes) {
    std::string frame;
    for (std::size_t i = 0; i < kLengthBytes; ++i) {
        frame.push_back(static_cast<char>(std::uint64_t{bytes.size()} >> (8U * i)));
    }
    return frame + bytes;
}

/// The whole frames at the beginning of what a child wrote; what follows the last of them is lost.
std::vector<Critique> critiquesIn(std::string_view written) {
    std::vector<Critique> critiques;
    while (written.size() >= kLengthBytes) {
        std::uint64_t length = 0;
        for (std::size_t i = kLengthBytes; i-- > 0;) {
            length = length << 8U | static_cast<unsigned char>(written[i]);
        }
        written.remove_prefix(kLengthBytes);
        // The frame that the child was ended in.
        if (length > written.size()) break;
        auto critique = decodeCritique(written.substr(0, static_cast<std::size_t>(length)));
        if (!critique) break;
        critiques.push_back(std::move(*critique));
        written.remove_prefix(static_cast<std::size_t>(length));
    }
    return critiques;
}

std::string howItEnded(const ChildResult& result, const ChildLimits& limits) {
    switch (result.end) {
    case ChildResult::End::outOfTime:
        return "did not end within " + std::to_string(limits.wall.count() / 1000) + " s";
    case ChildResult::End::tooMuch:
        return "wrote more than it may";
    case ChildResult::End::notStarted:
        return "could not be started";
    case ChildResult::End::cancelled:
        return "was cancelled";
    case ChildResult::End::exited:
        return "ended with status " + std::to_string(result.status);
    case ChildResult::End::killed:
        break;
    }
    return "was ended by signal " + std::to_string(result.status);
}

Submission onlyPart(const Submission& submission, std::size_t index) {
    Submission one = submission;
    one.parts = {submission.parts[index]};
    return one;
}

/// Whether the parser of the language itself has read the work and found nothing against it.
bool parses(const Critique& foreign) {
    constexpr std::array<std::string_view, 4> kOwnParsers = {"Python", "Bash", "Node.js", "gofmt"};
    const auto& asked = foreign.coverage.checkedBy;
    const bool read = std::ranges::any_of(asked, [&](const CheckedBy& who) {
        return who.knows.starts_with("syntax, ") &&
               std::ranges::find(kOwnParsers, who.engine) != kOwnParsers.end();
    });
    return read && std::ranges::none_of(foreign.findings, [](const Finding& finding) {
               return finding.severity == Severity::high || finding.severity == Severity::critical;
           });
}

/// A grammar is made by others than the language, and lags behind it: where the language's own
/// parser takes the work, what the grammar says against it is an error of the grammar.
void dropDoubts(Critique& own, const Critique& foreign) {
    if (!parses(foreign)) return;
    std::erase_if(own.findings,
                  [](const Finding& finding) { return finding.rule == "code.syntax"; });
}

/// Since Python 3.12 an f-string's brackets may hold its own quotes and backslashes. Ruff reads the
/// newest Python: where it takes the work, what an older one says of an f-string is of its age.
void weighByAge(Critique& python, const Critique& ruff) {
    const bool read = std::ranges::any_of(
        ruff.coverage.checkedBy, [](const CheckedBy& who) { return who.engine == "Ruff"; });
    const bool takes = std::ranges::none_of(
        ruff.findings, [](const Finding& finding) { return finding.rule == "ruff.syntax"; });
    if (!read || !takes) return;
    for (Finding& finding : python.findings) {
        const bool older = finding.rule == "python.syntax" &&
                           finding.detail.find("f-string: ") != std::string::npos;
        if (older) finding.severity = Severity::low;
    }
}

using Asked = std::vector<std::pair<std::size_t, std::string>>; ///< Part and engine.

/// In which order those asked begin: with fewer hands than engines the verdict waits for whoever
/// begins last, who should be quick. What they find keeps the order of asking.
std::vector<std::size_t> longestFirst(const Asked& asked, const EngineRoom& engines) {
    std::vector<std::size_t> order(asked.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, std::ranges::greater(), [&](std::size_t n) {
        return engines.usualMilliseconds(asked[n].second);
    });
    return order;
}

/// Somebody who judges, with where the result goes.
struct Task {
    std::string name;
    std::function<void()> run;
};

/// Runs the tasks, so many at once, and tells how far they are.
class Shift {
public:
    Shift(std::vector<Task> tasks, const std::function<void(const GradingProgress&)>& progress)
        : m_tasks(std::move(tasks)),
          m_progress(progress) {
        m_state.of = m_tasks.size();
    }

    void run(std::size_t atOnce) {
        tell();
        // This thread is one of them, so that a single task needs no thread at all.
        std::vector<std::thread> others;
        for (std::size_t i = 1; i < std::min(atOnce, m_tasks.size()); ++i) {
            others.emplace_back([this] { work(); });
        }
        work();
        for (std::thread& other : others) other.join();
    }

private:
    void work() {
        // Taken by number, whoever is free: tasks take from milliseconds to seconds.
        for (std::size_t i = m_next++; i < m_tasks.size(); i = m_next++) {
            {
                const std::lock_guard lock(m_mutex);
                m_state.running.push_back(m_tasks[i].name);
                tell();
            }
            m_tasks[i].run();
            const std::lock_guard lock(m_mutex);
            // The first of that name: an engine may be asked about several parts at once.
            m_state.running.erase(
                std::find(m_state.running.begin(), m_state.running.end(), m_tasks[i].name));
            ++m_state.done;
            tell();
        }
    }

    void tell() const {
        if (m_progress) m_progress(m_state);
    }

    const std::vector<Task> m_tasks;
    const std::function<void(const GradingProgress&)>& m_progress;
    std::atomic<std::size_t> m_next{0};
    std::mutex m_mutex;
    GradingProgress m_state;
};

} // namespace

std::size_t childrenAtOnce(unsigned cores) {
    // One for each core: a third child on two cores takes its time from the slowest, which decides
    // (bench/verdict_latency.py, Python on two cores: 1.19 to 1.27 x the slowest program with two
    // children, 1.30 to 1.38 x with three). Two where there is one core, since a child also waits
    // for files. Three at most: two submissions at once may then have six, each with its memory.
    return std::clamp<std::size_t>(cores, 2, 3);
}

Grader::Grader(ChildRunner& runner, EngineRoom& engines, GraderOptions options)
    : m_runner(runner),
      m_engines(engines),
      m_options(std::move(options)) {}

NotChecked Grader::notAsked(std::string who) const {
    return {std::move(who),
            "the work had taken " + std::to_string(m_options.enough.count() / 1000) + " s by then",
            "grade its parts by themselves"};
}

std::vector<Critique> Grader::askCritics(const Submission& submission, Until enough,
                                         const StopToken& cancel) const {
    ChildRequest request = m_options.worker;
    request.input = encode(submission);
    const ChildResult first = m_runner.run(request, cancel);
    // The parts are judged in order and each is told at once, so as many critiques as came are
    // parts that were finished.
    std::vector<Critique> critiques = critiquesIn(first.output);
    const bool well = first.end == ChildResult::End::exited && first.status == 0;
    // A bad end after the last part has cost nothing: then the loop below has nothing to do.
    if (cancel.isAsked() || (well && !critiques.empty())) return critiques;
    // The part that it ended on, and those behind it, without the readers that may be to blame.
    request.arguments.push_back(m_options.ownReadersOption);
    // A submission without parts is judged as well, and its only critique says that it is empty.
    const std::size_t parts = std::max<std::size_t>(submission.parts.size(), 1);
    for (std::size_t i = critiques.size(); i < parts && !cancel.isAsked(); ++i) {
        if (isEnough(enough)) {
            Critique none;
            none.coverage.missed(notAsked(m_options.workerName));
            critiques.push_back(std::move(none));
            continue;
        }
        const bool alone = submission.parts.size() > 1;
        request.input = encode(alone ? onlyPart(submission, i) : submission);
        const ChildResult again = m_runner.run(request, cancel);
        std::vector<Critique> more = critiquesIn(again.output);
        const std::string atFirst = "it " + howItEnded(first, m_options.worker.limits);
        Critique critique;
        bool told = false;
        if (more.empty()) {
            // Twice is enough: what ends badly without other people's readers is a fault of ours,
            // and would again.
            const std::string now = "it " + howItEnded(again, m_options.worker.limits);
            critique.coverage.missed({m_options.workerName, now, ""});
            told = now == atFirst;
        } else {
            critique =
                alone ? placedIn(submission, i, std::move(more.front())) : std::move(more.front());
        }
        if (!told) {
            critique.coverage.missed({m_options.workerName + " with all its readers", atFirst, ""});
        }
        critiques.push_back(std::move(critique));
    }
    return critiques;
}

std::optional<Critique>
Grader::grade(const Submission& submission, StopToken cancel,
              const std::function<void(const GradingProgress&)>& progress) const {
    // Each task writes to its own place in one of these, so they share no lock. None may grow once
    // the tasks are made.
    std::vector<Critique> own;
    std::vector<Critique> foreign(submission.parts.size());
    std::vector<std::pair<std::size_t, Critique>> looked; // by part, in the order of asking
    std::vector<Task> tasks;
    const Until enough = m_options.now() + m_options.enough;
    tasks.push_back({m_options.workerName, [&] { own = askCritics(submission, enough, cancel); }});
    // Parts beyond are judged by the critics alone: starting a program costs its time for each.
    const std::size_t most = std::min(submission.parts.size(), kMostPartsForEngines);
    Asked asked;
    for (std::size_t i = 0; i < most; ++i) {
        const Part& part = submission.parts[i];
        for (const std::string& engine : m_engines.enginesFor(part, submission.modality)) {
            if (i < m_engines.mostParts(engine)) {
                asked.emplace_back(i, engine);
            } else {
                foreign[i].coverage.missed({engine + ", of this part",
                                            "it is asked about the first " +
                                                std::to_string(m_engines.mostParts(engine)) +
                                                " parts only",
                                            "grade them by themselves"});
            }
        }
        for (NotChecked& gap : m_engines.absentFor(part, submission.modality)) {
            foreign[i].coverage.missed(std::move(gap));
        }
    }
    // By part, in the order of asking: the verdict must not depend on who answered first.
    looked.resize(asked.size());
    for (const std::size_t n : longestFirst(asked, m_engines)) {
        tasks.push_back({asked[n].second, [&, n] {
                             const auto& [part, engine] = asked[n];
                             if (isEnough(enough)) {
                                 looked[n].first = part;
                                 looked[n].second.coverage.missed(notAsked(engine));
                                 return;
                             }
                             looked[n] = {part, m_engines.look(engine, submission.parts[part],
                                                               submission.modality, cancel)};
                         }});
    }
    Shift(std::move(tasks), progress).run(m_options.atOnce);
    // Work comes in bursts: the next finds its judge with the dictionaries open.
    m_runner.expect(m_options.worker);
    if (cancel.isAsked()) return std::nullopt;

    for (auto& [part, critique] : looked) {
        for (const auto& [place, other] : looked) {
            if (place == part) weighByAge(critique, other);
        }
    }
    for (auto& [part, critique] : looked) mergeCritique(foreign[part], std::move(critique));
    Critique whole;
    whole.coverage.known = true;
    // The critics say one thing for a submission that is empty as a whole.
    const bool byPart = own.size() == submission.parts.size();
    for (std::size_t i = 0; i < own.size(); ++i) {
        if (byPart) {
            dropDoubts(own[i], foreign[i]);
            mergeCritique(own[i], placedIn(submission, i, std::move(foreign[i])));
            dropAnswered(own[i].coverage);
        }
        addPart(whole, std::move(own[i]));
    }
    if (submission.parts.size() > most) {
        whole.coverage.missed({"the parts from number " + std::to_string(most + 1) + " on",
                               "programs are asked about the first ones only",
                               "grade them by themselves"});
    }
    return whole;
}

bool writeFrames(std::string input, const CriticTools& tools,
                 const std::function<void(std::string_view)>& write) {
    const auto submission = decodeSubmission(input);
    if (!submission) return false;
    // As much again as the work, which the critics can use.
    std::string().swap(input);
    critiqueEach(*submission, tools,
                 [&](const Critique& critique) { write(framed(encode(critique))); });
    return true;
}

} // namespace trevix
