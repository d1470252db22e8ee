#include "critics/worker/work_codec.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace trevix {

namespace {

// A number is eight bytes, the least first; a text is its length as a number and its bytes; a list
// is the number of its entries and the entries. There is nothing that nests, so that nothing a
// child says can lead the reader deep.
constexpr std::size_t kNumberBytes = 8;

// What stands first, so that the one is not taken for the other.
// "SUBM1" and "CRIT1" in ASCII; the digit is the version of the format.
constexpr std::uint64_t kSubmission = 0x5355424d31;
constexpr std::uint64_t kCritique = 0x4352495431;

// Thrown and caught in this file only.
struct Malformed {};

class Writer {
public:
    void number(std::uint64_t value) {
        for (std::size_t i = 0; i < kNumberBytes; ++i) {
            m_bytes.push_back(static_cast<char>(value >> (8U * i)));
        }
    }
    void text(std::string_view value) {
        number(value.size());
        m_bytes.append(value);
    }
    [[nodiscard]] std::string take() { return std::move(m_bytes); }

private:
    std::string m_bytes;
};

class Reader {
public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    [[nodiscard]] std::uint64_t number() {
        const std::string_view bytes = next(kNumberBytes);
        std::uint64_t value = 0;
        for (std::size_t i = kNumberBytes; i-- > 0;) {
            value = value << 8U | static_cast<unsigned char>(bytes[i]);
        }
        return value;
    }
    [[nodiscard]] std::string text() { return std::string(next(number())); }
    // Strict, so that two different byte strings never mean the same.
    [[nodiscard]] bool truth() {
        const std::uint64_t value = number();
        if (value > 1) throw Malformed{};
        return value == 1;
    }
    void expect(std::uint64_t value) {
        if (number() != value) throw Malformed{};
    }
    void end() const {
        if (!m_rest.empty()) throw Malformed{};
    }

private:
    std::string_view next(std::uint64_t length) {
        // Before any addition: a length near 2^64 would come round to a small one.
        if (length > m_rest.size()) throw Malformed{};
        const std::string_view bytes = m_rest.substr(0, static_cast<std::size_t>(length));
        m_rest.remove_prefix(bytes.size());
        return bytes;
    }

    std::string_view m_rest;
};

Severity severityOf(std::uint64_t number) {
    // A cast of another number would be a severity that no switch knows.
    if (number > static_cast<std::uint64_t>(Severity::critical)) throw Malformed{};
    return static_cast<Severity>(number);
}

Part partOf(Reader& reader) {
    Part part;
    part.mimeType = reader.text();
    part.name = reader.text();
    part.text = reader.text();
    part.bytes = reader.text();
    part.isText = reader.truth();
    return part;
}

Finding findingOf(Reader& reader) {
    Finding finding;
    finding.severity = severityOf(reader.number());
    finding.rule = reader.text();
    finding.criterion = reader.text();
    finding.place = reader.text();
    finding.evidence = reader.text();
    finding.detail = reader.text();
    return finding;
}

} // namespace

std::string encode(const Submission& submission) {
    Writer writer;
    writer.number(kSubmission);
    writer.text(submission.modality);
    writer.text(submission.vertical);
    writer.text(submission.intent);
    writer.number(submission.parts.size());
    for (const Part& part : submission.parts) {
        writer.text(part.mimeType);
        writer.text(part.name);
        writer.text(part.text);
        writer.text(part.bytes);
        writer.number(part.isText ? 1 : 0);
    }
    return writer.take();
}

std::string encode(const Critique& critique) {
    Writer writer;
    writer.number(kCritique);
    writer.number(critique.findings.size());
    for (const Finding& finding : critique.findings) {
        writer.number(static_cast<std::uint64_t>(finding.severity));
        writer.text(finding.rule);
        writer.text(finding.criterion);
        writer.text(finding.place);
        writer.text(finding.evidence);
        writer.text(finding.detail);
    }
    writer.number(critique.extent.words);
    writer.number(critique.extent.lines);
    writer.number(critique.extent.cells);
    writer.number(critique.coverage.checkedBy.size());
    for (const CheckedBy& by : critique.coverage.checkedBy) {
        writer.text(by.engine);
        writer.text(by.version);
        writer.text(by.knows);
    }
    writer.number(critique.coverage.notChecked.size());
    for (const NotChecked& gap : critique.coverage.notChecked) {
        writer.text(gap.what);
        writer.text(gap.why);
        writer.text(gap.remedy);
    }
    writer.number(critique.coverage.known ? 1 : 0);
    return writer.take();
}

std::optional<Submission> decodeSubmission(std::string_view bytes) {
    try {
        Reader reader(bytes);
        reader.expect(kSubmission);
        Submission submission;
        submission.modality = reader.text();
        submission.vertical = reader.text();
        submission.intent = reader.text();
        // A count that is too large runs out of bytes, not of memory.
        for (std::uint64_t left = reader.number(); left > 0; --left) {
            submission.parts.push_back(partOf(reader));
        }
        reader.end();
        return submission;
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

std::optional<Critique> decodeCritique(std::string_view bytes) {
    try {
        Reader reader(bytes);
        reader.expect(kCritique);
        Critique critique;
        for (std::uint64_t left = reader.number(); left > 0; --left) {
            critique.findings.push_back(findingOf(reader));
        }
        critique.extent.words = reader.number();
        critique.extent.lines = reader.number();
        critique.extent.cells = reader.number();
        for (std::uint64_t left = reader.number(); left > 0; --left) {
            CheckedBy by;
            by.engine = reader.text();
            by.version = reader.text();
            by.knows = reader.text();
            critique.coverage.checked(std::move(by));
        }
        for (std::uint64_t left = reader.number(); left > 0; --left) {
            NotChecked gap;
            gap.what = reader.text();
            gap.why = reader.text();
            gap.remedy = reader.text();
            critique.coverage.missed(std::move(gap));
        }
        critique.coverage.known = reader.truth();
        reader.end();
        return critique;
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

} // namespace trevix
