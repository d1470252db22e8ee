// The judge of a piece of work: one submission in, findings and coverage out.
//
// It is deterministic: the same bytes give the same findings in the same order. It keeps no state
// between calls, never throws on bad input (what cannot be read is a finding), and may run on any
// thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"
#include "critics/ocr/line_reader.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace trevix {

/// What the critics judge with beside their own rules. As it is made: no dictionary, nobody who
/// reads pictures.
struct CriticTools {
    LanguageTools language;
    std::shared_ptr<LineReaders> lines; ///< Who reads the words in pictures; may be null.
    Readers readers = Readers::all;
};

/// What the critic that is right for each part makes of it, by its type and the declared modality,
/// in the order of the parts. A submission without parts, or whose every part is empty, has one
/// finding that says so. Of a text beyond 8 MiB, 4 MiB of code or a table, the beginning is read,
/// and the coverage says so.
[[nodiscard]] Critique critique(const Submission& submission, const CriticTools& tools = {});

/// The same part by part: `each` is given what was made of every part, as soon as it is made; of a
/// submission in which there is nothing, one critique for all of it.
void critiqueEach(const Submission& submission, const CriticTools& tools,
                  const std::function<void(Critique)>& each);

/// `critique` of the part with this index, its places told so that they are not taken for those of
/// another part. Precondition: there is such a part.
[[nodiscard]] Critique placedIn(const Submission& submission, std::size_t index, Critique critique);

/// Builds the rule tables that the critics share. The first `critique` does so by itself; a service
/// calls this beforehand and tells its clients that it is warming up meanwhile. Thread-safe,
/// once only.
void warmUp();

} // namespace trevix
