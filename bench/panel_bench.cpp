// What does one redraw of the panel cost, and does it grow with the number of flaws?
//
//     panel_bench [ROUNDS]
//
// Prints medians in microseconds: the record alone, the record with what is handed to QML, and all
// of it up to the drawn frame, for 3 and for 10,000 flaws. Needs no display.

#include "app/companion_view.h"
#include "app/panel/panel_item.h"
#include "tests/app/panel/panel_states.h"

#include <QByteArray>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QQuickView>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace kelvane;

double medianMicroseconds(int rounds, const std::function<void(int)>& work) {
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const auto start = std::chrono::steady_clock::now();
        work(round);
        times.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
    return times[static_cast<std::size_t>(rounds) / 2];
}

Verdict verdictWith(std::size_t flaws, const std::string& detail) {
    return {.band = Band::route_to_fix,
            .score = 0.62,
            .flaws = std::vector<Flaw>(flaws, {"HIGH", "contrast", detail}),
            .runId = "run",
            .warming = false,
            .error = std::nullopt};
}

void measure(std::size_t flaws, int rounds) {
    PanelFixture panel;
    panel.model.seedDemo();
    PanelBridge bridge(panel.model, panel.images);
    const auto view = makePanelView(bridge);
    view->show();
    const Verdict verdicts[] = {verdictWith(flaws, "Primary CTA text fails AA contrast."),
                                verdictWith(flaws, "Secondary text fails AA contrast.")};
    const auto change = [&](int round) { panel.model.verdict = verdicts[round % 2]; };

    const double assigning = medianMicroseconds(rounds, change);
    const double record = medianMicroseconds(rounds, [&](int) {
        if (companionView(panel.model).product.empty()) std::abort();
    });
    const double handed = medianMicroseconds(rounds, [&](int round) {
        change(round);
        bridge.redraw();
    });
    const double drawn = medianMicroseconds(rounds, [&](int round) {
        change(round);
        bridge.redraw();
        layOutPanel(*view->rootObject());
        if (view->grabWindow().isNull()) std::abort();
    });
    std::printf("%6zu flaws: record %8.1f us  record and bridge %8.1f us  drawn %8.1f us"
                "  (of the last two, %.1f us copy the verdict)\n",
                flaws, record, handed, drawn, assigning);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    kelvane::useSoftwareRendering();
    const int rounds = std::max(argc > 1 ? QByteArray(argv[1]).toInt() : 200, 1);
    for (const std::size_t flaws : {3U, 10'000U}) measure(flaws, rounds);
    return 0;
}
