#include "service/service_metrics.h"

#include "critics/findings/part_kind.h"
#include "text/unicode.h"

#include <algorithm>
#include <charconv>

namespace trevix {

namespace {

std::string number(double value) {
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), written.ptr};
}

/// The text as it is built: one family after the other, each with its heading.
class Text {
public:
    void family(const std::string& name, const char* type, const char* help) {
        m_name = name;
        m_text += "# HELP " + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
    }
    void sample(const std::string& value) { m_text += m_name + " " + value + "\n"; }
    void sample(std::uint64_t value) { sample(std::to_string(value)); }
    void sample(const char* label, std::string_view is, std::uint64_t value) {
        m_text += m_name + labels(label, is) + "} " + std::to_string(value) + "\n";
    }
    void sample(const char* label, std::string_view is, const Histogram& histogram) {
        const std::string before = labels(label, is);
        std::uint64_t together = 0;
        for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
            together += histogram.counts.at(i);
            const std::string end = i < kBuckets.size() ? number(kBuckets.at(i)) : "+Inf";
            m_text += m_name + "_bucket" + before + ",le=\"" + end + "\"} " +
                      std::to_string(together) + "\n";
        }
        m_text += m_name + "_sum" + before + "} " + number(histogram.sum) + "\n";
        m_text += m_name + "_count" + before + "} " + std::to_string(together) + "\n";
    }
    [[nodiscard]] std::string take() { return std::move(m_text); }

private:
    // Without the brace behind it.
    static std::string labels(const char* label, std::string_view is) {
        std::string text = std::string("{") + label + "=\"";
        for (const char c : is) {
            if (c == '"' || c == '\\') text += '\\';
            text += c == '\n' ? ' ' : c;
        }
        return text + '"';
    }

    std::string m_name;
    std::string m_text;
};

std::string_view labelOf(WorkKind kind) {
    switch (kind) {
    case WorkKind::text:
        return "text";
    case WorkKind::document:
        return "document";
    case WorkKind::code:
        return "code";
    case WorkKind::sheet:
        return "sheet";
    case WorkKind::picture:
        return "picture";
    case WorkKind::any:
    case WorkKind::engine:
        break;
    }
    return "other";
}

} // namespace

void Histogram::add(double seconds) {
    const auto bucket = std::ranges::find_if(kBuckets, [&](double end) { return seconds <= end; });
    ++counts.at(static_cast<std::size_t>(bucket - kBuckets.begin()));
    sum += seconds;
}

std::vector<std::pair<std::string, EngineTimes::Instant::duration>>
EngineTimes::ended(const GradingProgress& progress, Instant now) {
    std::map<std::string, std::size_t> running;
    for (const std::string& name : progress.running) ++running[name];
    std::vector<std::pair<std::string, Instant::duration>> over;
    for (auto& [name, begun] : m_begun) {
        // Of several of one name the first to begin is taken for the first to end.
        while (begun.size() > running[name]) {
            over.emplace_back(name, now - begun.front());
            begun.erase(begun.begin());
        }
    }
    for (const auto& [name, count] : running) {
        auto& begun = m_begun[name];
        begun.resize(std::max(begun.size(), count), now);
    }
    return over;
}

std::string_view kindLabel(const Submission& submission) {
    const std::string modality = kelvane::text::lowerAscii(submission.modality);
    std::optional<WorkKind> kind;
    for (const Part& part : submission.parts) {
        const WorkKind its = kindOf(part, modality);
        if (kind && *kind != its) return "several";
        kind = its;
    }
    return kind ? labelOf(*kind) : std::string_view("none");
}

void ServiceMetrics::countRequest(int status) {
    const std::lock_guard lock(m_mutex);
    ++m_requests[status];
}

void ServiceMetrics::countJudged(std::string_view kind, Judged how,
                                 std::chrono::duration<double> took) {
    const std::lock_guard lock(m_mutex);
    ++m_judged.at(static_cast<std::size_t>(how));
    if (how == Judged::verdict) m_judging[std::string(kind)].add(took.count());
}

void ServiceMetrics::countEngine(const std::string& engine, std::chrono::duration<double> took) {
    const std::lock_guard lock(m_mutex);
    m_engines[engine].add(took.count());
}

std::string ServiceMetrics::text(const std::optional<StoreFigures>& figures,
                                 const StoreCounts& counts, std::string_view version) const {
    Text text;
    text.family("trevix_build_info", "gauge", "The version of this process, as a label.");
    text.sample("version", version, 1);
    text.family("trevix_database_up", "gauge", "Whether the database answered this time.");
    text.sample(figures ? 1 : 0);
    text.family("trevix_database_errors_total", "counter",
                "Statements and connections of this process that failed.");
    text.sample(counts.errors);
    if (figures) {
        text.family("trevix_jobs", "gauge", "Jobs of the whole service that are not over.");
        text.sample("state", "queued", figures->queued);
        text.sample("state", "running", figures->running);
        text.family("trevix_oldest_queued_seconds", "gauge",
                    "Since when the oldest queued job waits; 0 where none does.");
        text.sample(number(static_cast<double>(figures->oldestQueued.count()) / 1000));
        text.family("trevix_workers", "gauge",
                    "Processes that judge and were heard of within their lease.");
        text.sample("state", "ready", figures->workersReady);
        text.sample("state", "warming", figures->workersWarming);
    }
    text.family("trevix_jobs_over_total", "counter",
                "Jobs that this process gave their end: a verdict, or that there is none.");
    text.sample("state", "completed", counts.completed);
    text.sample("state", "failed", counts.failed);
    const std::lock_guard lock(m_mutex);
    text.family("trevix_requests_total", "counter", "Requests that this process answered.");
    for (const auto& [status, count] : m_requests) {
        text.sample("code", std::to_string(status), count);
    }
    text.family("trevix_judged_total", "counter",
                "Works that this process judged, and how it ended.");
    text.sample("outcome", "verdict", m_judged.at(0));
    text.sample("outcome", "given_up", m_judged.at(1));
    text.sample("outcome", "failed", m_judged.at(2));
    text.family("trevix_judging_seconds", "histogram", "How long works took to judge.");
    for (const auto& [kind, histogram] : m_judging) text.sample("kind", kind, histogram);
    text.family("trevix_engine_seconds", "histogram", "How long each engine was at a work.");
    for (const auto& [engine, histogram] : m_engines) text.sample("engine", engine, histogram);
    return text.take();
}

WorkCritic counted(WorkCritic critic, ServiceMetrics& metrics,
                   std::function<EngineTimes::Instant()> now) {
    return [critic = std::move(critic), &metrics,
            now = std::move(now)](const Submission& submission, const StopToken& cancel,
                                  const std::function<void(const GradingProgress&)>& progress) {
        const std::string_view kind = kindLabel(submission);
        const EngineTimes::Instant begun = now();
        EngineTimes engines;
        const auto watched = [&](const GradingProgress& how) {
            for (const auto& [engine, took] : engines.ended(how, now())) {
                metrics.countEngine(engine, took);
            }
            if (progress) progress(how);
        };
        try {
            auto critique = critic(submission, cancel, watched);
            metrics.countJudged(
                kind, critique ? ServiceMetrics::Judged::verdict : ServiceMetrics::Judged::givenUp,
                now() - begun);
            return critique;
        } catch (...) {
            metrics.countJudged(kind, ServiceMetrics::Judged::failed, now() - begun);
            throw;
        }
    };
}

} // namespace trevix
