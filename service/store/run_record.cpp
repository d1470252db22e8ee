#include "service/store/run_record.h"

#include <utility>

namespace trevix {

Iteration withUserSays(Iteration iteration, const UserSays& says) {
    iteration.dismissed = takeDismissed(iteration.findings, says);
    // The stored band and score stand as they were given, even where the rule of verdicts has
    // changed since: only a dismissal has them found anew.
    if (iteration.dismissed.empty()) return iteration;
    const Judgement judgement = judge({iteration.findings, iteration.extent, iteration.coverage});
    iteration.band = judgement.band;
    iteration.score = judgement.score;
    return iteration;
}

RunRecord withUserSays(RunRecord run, const UserSays& says) {
    for (Iteration& iteration : run.iterations) {
        iteration = withUserSays(std::move(iteration), says);
    }
    return run;
}

} // namespace trevix
