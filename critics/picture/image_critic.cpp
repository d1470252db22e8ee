#include "critics/picture/image_critic.h"

#include "critics/findings/finding_list.h"
#include "critics/picture/picture_rule_table.h"
#include "critics/picture/picture_rules.h"
#include "critics/picture/picture_text.h"
#include "critics/picture/pixels.h"
#include "critics/text/prose_rules.h"
#include "critics/text/text_rule_table.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>

namespace trevix {
namespace {

constexpr GradedRule kTransparent = declared<WorkKind::picture>("picture.transparent");
constexpr GradedRule kBlack = declared<WorkKind::picture>("picture.black");
constexpr GradedRule kBlankHigh = declared<WorkKind::picture>("picture.blank", Severity::high);
constexpr GradedRule kBlankMedium = declared<WorkKind::picture>("picture.blank", Severity::medium);
constexpr GradedRule kUnreadable = declared<WorkKind::picture>("picture.unreadable");
constexpr GradedRule kUnjudged = declared<WorkKind::picture>("picture.unjudged");

constexpr GradedRule kSecret = declared<WorkKind::text>("text.secret");

/// Of 255: an alpha that no eye tells from none, and a brightness that it does not tell from black.
constexpr int kInvisibleAlpha = 8;
constexpr int kBlackest = 4;
/// Largest difference of a channel, of 255, at which two pixels count as one colour.
constexpr int kSameColour = 3;
/// A picture is blank when one pixel in so many, or fewer, differs from its ground.
constexpr std::size_t kBlankShare = 2000;
constexpr std::size_t kNearlyBlankShare = 500;

/// Whether a picture shows anything, told from its pixels in any order, some at a time. Every pixel
/// goes to `look`, on white to `lookOnWhite` and, when all have been there, on white to `count`.
/// Two passes at most over pixels that need not be kept: pictures of 100 megapixels are judged in a
/// row's memory.
class Emptiness {
public:
    /// Looks at the pixels as they were decoded.
    void look(std::span<const Colour> pixels) {
        m_transparent = m_transparent && std::ranges::all_of(pixels, [](const Colour& pixel) {
                            return pixel.alpha <= kInvisibleAlpha;
                        });
    }

    /// Looks at the same pixels on white.
    void lookOnWhite(std::span<const Colour> pixels) {
        m_all += pixels.size();
        m_black = m_black && std::ranges::all_of(pixels, [](const Colour& pixel) {
                      return brightness(pixel) <= kBlackest;
                  });
        // The candidate that outlives its rivals in pairs is the majority, if there is one.
        for (const Colour& pixel : pixels) {
            if (m_lead == 0) m_ground = pixel;
            if (same(m_ground, pixel))
                ++m_lead;
            else
                --m_lead;
        }
    }

    /// Counts, on white and after all have been looked at, the pixels that are not of the ground.
    void count(std::span<const Colour> pixels) {
        // If there was a majority, it is the candidate. If not, most pixels differ from it and the
        // picture is not blank.
        for (const Colour& pixel : pixels) m_others += same(m_ground, pixel) ? 0U : 1U;
    }

    [[nodiscard]] bool transparent() const { return m_transparent; }
    [[nodiscard]] bool black() const { return m_black; }
    [[nodiscard]] bool blank() const { return m_others * kBlankShare <= m_all; }
    [[nodiscard]] bool nearlyBlank() const { return m_others * kNearlyBlankShare <= m_all; }
    [[nodiscard]] Colour ground() const { return m_ground; }
    [[nodiscard]] double percentOfOthers() const {
        return 100.0 * static_cast<double>(m_others) / static_cast<double>(m_all);
    }

private:
    static bool same(const Colour& one, const Colour& other) {
        return one == other || channelDistance(one, other) <= kSameColour;
    }

    bool m_transparent = true;
    bool m_black = true;
    Colour m_ground;
    std::size_t m_lead = 0;
    std::size_t m_others = 0;
    std::size_t m_all = 0;
};

/// Captures that failed and pictures with nothing on them. True when there is nothing to judge.
bool judgeEmptiness(const Emptiness& seen, const PictureSize& size, FindingList& list) {
    const std::string place = placeName({0, 0, size.width, size.height});
    if (seen.transparent()) {
        list.addAt(kTransparent, place, "every pixel is transparent",
                   "Every pixel of " + place + " is transparent, as after a failed capture.");
        return true;
    }
    if (seen.black()) {
        list.addAt(kBlack, place, "every pixel is black",
                   "Every pixel of " + place + " is black, as after a failed capture.");
        return true;
    }
    if (!seen.nearlyBlank()) return false;
    const std::string figures =
        fixed(seen.percentOfOthers(), 2) + " % of the pixels differ from " + hexName(seen.ground());
    list.addAt(seen.blank() ? kBlankHigh : kBlankMedium, place, figures,
               "On " + place + " only " + figures + ".");
    return seen.blank();
}

void tellUnreadable(const DecodeFailure& failure, FindingList& list) {
    list.addAt(kUnreadable, "the whole picture", failure.reason,
               "The whole picture cannot be read: " + failure.reason + ".");
}

void tellUnjudged(const PictureSize& size, FindingList& list) {
    const std::string place = placeName({0, 0, size.width, size.height});
    const std::string limit = std::to_string(kMostPicturePixels / 1'000'000) + " megapixels";
    list.addAt(kUnjudged, place, "more than " + limit + " in one submission",
               "The picture with " + place +
                   " was not judged: the pictures of one submission are " + "judged up to " +
                   limit + " together.");
}

/// Reads the file twice, a row at a time: the second time to count what the first one compared.
void judgeLarge(std::string_view bytes, const PictureFacts& facts, FindingList& list) {
    Emptiness seen;
    auto failure = visitPixels(bytes, [&](std::span<Colour> pixels) {
        seen.look(pixels);
        layOnWhite(pixels);
        seen.lookOnWhite(pixels);
    });
    if (!failure) {
        failure = visitPixels(bytes, [&](std::span<Colour> pixels) {
            layOnWhite(pixels);
            seen.count(pixels);
        });
    }
    if (failure) {
        tellUnreadable(*failure, list);
        return;
    }
    // Of the rest of the rules each needs the whole picture at once.
    judgeEmptiness(seen, {facts.picture.width, facts.picture.height}, list);
    judgeSize(facts, list);
}

/// What nobody read, and why.
void missWords(const ReaderAbsence& absence, Critique& critique) {
    critique.coverage.missed({"words in pictures", absence.why, absence.remedy});
}

/// Reads the words of the picture's lines.
void readWriting(PictureFacts& facts, PictureAllowance& allowance, LineReaders* readers,
                 Critique& critique) {
    if (readers == nullptr) {
        missWords({"nobody reads them", ""}, critique);
        return;
    }
    const auto taken = readers->take();
    if (const auto* absence = std::get_if<ReaderAbsence>(&taken)) {
        missWords(*absence, critique);
        return;
    }
    LineReader& reader = std::get<LineReaders::Lease>(taken).reader();
    const auto start = std::chrono::steady_clock::now();
    WordsRead read = readWords(facts.picture, facts.lines, reader, allowance.reading());
    allowance.spend(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start));
    facts.words = std::move(read.words);
    // What was read is judged, and what was not is told.
    if (!read.complete) missWords({"reading all of them took too long", ""}, critique);
    if (read.complete || !facts.words.empty()) {
        critique.coverage.checked({"tesseract", reader.version(), "words in pictures, English"});
        critique.coverage.known = true;
    }
}

/// Judges what is written. Of the rules for prose those that a fragment, a label or a misread mark
/// does not set off: not how much there is, whether sentences are whole, begin with a capital or
/// close their brackets, how they are spaced, or who shouts in them.
void judgeText(const PictureFacts& facts, const LanguageTools& tools, Critique& critique) {
    if (facts.words.empty()) return;
    const PictureText read = textOf(facts.words, facts.lines);
    const SourceText source(read.text, [&read](std::size_t offset, std::size_t length) {
        return read.placeOf(offset, length);
    });
    FindingList list(source);
    checkSecrets(source, kSecret, list);
    const ProseView view(source, proseOf(read, source));
    checkPlaceholders(view, list);
    checkDoubledWords(view, list);
    checkDates(view, list);
    checkLanguage(view, tools, list, critique.coverage);
    critique.extent.words = read.sureWords;
    critique.coverage.checked(ownRules("what was left behind, dates and repetition in pictures"));
    for (Finding& finding : list.take()) critique.findings.push_back(std::move(finding));
}

void judgeWhole(Picture picture, PictureKind kind, PictureAllowance& allowance,
                LineReaders* readers, const LanguageTools& tools, Critique& critique) {
    FindingList list;
    Emptiness seen;
    // Before they are laid on white: after that nothing is transparent.
    seen.look(picture.pixels);
    layOnWhite(picture.pixels);
    seen.lookOnWhite(picture.pixels);
    seen.count(picture.pixels);
    if (judgeEmptiness(seen, {picture.width, picture.height}, list)) {
        PictureFacts facts;
        facts.kind = kind;
        facts.picture = std::move(picture);
        judgeSize(facts, list);
        critique.findings = list.take();
        return;
    }
    PictureFacts facts = factsOf(std::move(picture), kind);
    readWriting(facts, allowance, readers, critique);
    judgeSize(facts, list);
    judgeWriting(facts, list);
    judgeRendering(facts, list);
    switch (kind) {
    case PictureKind::image:
        judgePhotograph(facts, list);
        break;
    case PictureKind::userInterface:
        judgeInterface(facts, list);
        break;
    case PictureKind::slide:
        judgeSlide(facts, list);
        break;
    }
    critique.findings = list.take();
    // Last, as its findings go behind those of the pixels.
    judgeText(facts, tools, critique);
}

/// Judges the picture as far as the allowance reaches.
void judge(const Part& part, PictureKind kind, PictureAllowance& allowance, LineReaders* readers,
           const LanguageTools& tools, Critique& critique) {
    FindingList list;
    const auto header = sizeOfPng(part.bytes);
    if (const auto* failure = std::get_if<DecodeFailure>(&header)) {
        tellUnreadable(*failure, list);
        critique.findings = list.take();
        return;
    }
    const PictureSize size = std::get<PictureSize>(header);
    // Asked before anything is unpacked, with the size from the header.
    if (!allowance.take(size.pixels())) {
        tellUnjudged(size, list);
        critique.findings = list.take();
        return;
    }
    // The analysis takes up to ten bytes a pixel, and a file of some kilobytes may hold 100
    // megapixels.
    if (size.pixels() > kMostAnalysedPixels) {
        PictureFacts facts;
        facts.kind = kind;
        facts.picture = {size.width, size.height, {}};
        judgeLarge(part.bytes, facts, list);
        critique.findings = list.take();
        missWords({"the picture is larger than " + std::to_string(kMostAnalysedPixels / 1'000'000) +
                       " megapixels",
                   "send a part of it"},
                  critique);
        return;
    }
    auto decoded = decodePng(part.bytes);
    if (const auto* failure = std::get_if<DecodeFailure>(&decoded)) {
        tellUnreadable(*failure, list);
        critique.findings = list.take();
        return;
    }
    judgeWhole(std::get<Picture>(std::move(decoded)), kind, allowance, readers, tools, critique);
}

} // namespace

Critique critiqueImage(const Part& part, std::string_view modality, PictureAllowance& allowance,
                       LineReaders* readers, const LanguageTools& tools) {
    Critique critique;
    critique.coverage.checked(ownRules("emptiness, writing, edges and contrast in pictures"));
    const PictureKind kind = kindOf(modality);
    // What a window or slide is for stands in its words.
    critique.coverage.known = kind == PictureKind::image;
    judge(part, kind, allowance, readers, tools, critique);
    return critique;
}

Critique critiqueImage(const Part& part, std::string_view modality, PictureAllowance& allowance) {
    return critiqueImage(part, modality, allowance, nullptr, LanguageTools());
}

} // namespace trevix
