#include "critics/text/text_critic.h"

#include "critics/text/prose_rules.h"

namespace trevix {

namespace {

constexpr Rule kConflict{"text.conflict_marker", Severity::critical, "unresolved merge"};
constexpr Rule kSecret{"text.secret", Severity::critical, "kept secrets"};

} // namespace

std::vector<Finding> critiqueText(const Part& part) {
    const SourceText source(part.text);
    FindingList findings(source);
    checkSecrets(source, kSecret, findings);
    const ProseView view(source, plainProse(source));
    if (checkAmount(view, findings)) return findings.take();
    checkConflictMarkers(source, kConflict, findings);
    checkEncoding(source, findings);
    checkProse(view, findings);
    return findings.take();
}

} // namespace trevix
