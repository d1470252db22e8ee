#include "app/composition/shell_actions.h"

#include "app/accessibility_question.h"
#include "app/composition/model_ports.h"
#include "app/grading_place.h"
#include "app/grading_question.h"
#include "app/process_settings.h"
#include "catalog/catalog_loader.h"
#include "eval/chosen_environment.h"
#include "eval/eval_bridge.h"
#include "eval/service_address.h"
#include "harness/tool_wiring.h"
#include "harness/uninstall.h"
#include "platform/desktop.h"
#include "text/web_address.h"

#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {

namespace {

AppCatalog catalogOf(DesktopPorts& ports, const Installation& installation,
                     const std::optional<std::string>& explicitPath) {
    return loadCatalog({.files = *ports.files,
                        .resources = *ports.resources,
                        .braskHome = installation.braskHome,
                        .standardError = std::cerr},
                       explicitPath);
}

void install(DesktopPorts& ports, const Installation& installation, bool firstRun) {
    ToolWiring::runInstall(
        {.files = *ports.files,
         .processes = *ports.processes,
         .bundle = *ports.resources,
         .dialogs = *ports.dialogs,
         .urls = *ports.urls},
        installation, {.connectURL = kConnectURL(), .noPersist = kNoPersist(), .noOpen = kNoOpen()},
        firstRun);
}

void uninstall(DesktopPorts& ports, const Installation& installation, Application& application,
               GradingPlace& place, AccessibilityQuestion& accessibility) {
    Uninstall::runUninstall({.dialogs = *ports.dialogs,
                             .processes = *ports.processes,
                             .terminate = [&application] { application.terminate(); },
                             .giveBack =
                                 [&place, &accessibility] {
                                     place.giveUp();
                                     accessibility.giveBack();
                                 }},
                            installation);
}

void fetchCatalog(DesktopPorts& ports, const Installation& installation) {
    refreshRemoteCatalog(
        {.files = *ports.files, .http = *ports.http, .dispatcher = *ports.dispatcher},
        kCatalogURL(), installation.braskHome);
}

// A service of this machine is asked in the background; for others there is nothing to wait for.
void findReportAddress(DesktopPorts& ports, Environment& environment,
                       const Installation& installation, const std::string& runId,
                       std::function<void(const std::string&)> open) {
    const auto address = [&ports, &environment, runId, home = installation.home] {
        return EvalBridge::reportAddress({environment, *ports.http, *ports.clock}, runId,
                                         EvalBridge::apiKey(environment, *ports.files, home));
    };
    if (!EvalBridge::asksForReportAddress(environment)) return open(address());
    ports.dispatcher->background([&ports, address, open = std::move(open)] {
        ports.dispatcher->main([open, found = address()] { open(found); });
    });
}

GradingQuestion gradingQuestion(const ShellParts& parts) {
    const auto origin = text::webOrigin(kServiceBase);
    return {.dialogs = *parts.ports.dialogs,
            .place = parts.place,
            .service = origin ? origin->host : std::string(kServiceBase),
            .hasKey =
                [parts] {
                    return EvalBridge::apiKey(parts.environment, *parts.ports.files,
                                              parts.installation.home)
                        .has_value();
                },
            .openKeyPage = [parts] { parts.ports.urls->open(kConnectURL()); },
            .isSetOutside =
                [parts] { return parts.environment.outside().get("BRASK_API_BASE").has_value(); }};
}

} // namespace

Installation installationOf(DesktopPorts& ports) {
    const auto folder = home(*ports.files);
    return {.home = folder,
            .braskHome = braskHome(*ports.files),
            .bundleId = std::string(kBundleID),
            .loginItem = ports.loginItem,
            .configHome = configHome(*ports.environment, folder),
            .dataHome = dataHome(*ports.environment, folder)};
}

AppDelegate::Actions shellActions(ShellParts parts) {
    AppDelegate::Actions actions;
    actions.loadCatalog = [parts](const auto& explicitPath) {
        return catalogOf(parts.ports, parts.installation, explicitPath);
    };
    actions.makeModel = [parts](const AppCatalog& catalog) {
        return std::make_unique<CompanionModel>(
            modelPorts(parts.ports, parts.workspace, parts.environment, parts.plainHttp,
                       parts.history, parts.installation.dataHome, parts.settings),
            catalog, parts.installation.home);
    };
    actions.isInstalled = [parts] {
        return ToolWiring::isInstalled(*parts.ports.files, parts.installation.braskHome);
    };
    actions.runInstall = [parts](bool firstRun) {
        install(parts.ports, parts.installation, firstRun);
    };
    actions.runUninstall = [parts] {
        uninstall(parts.ports, parts.installation, parts.application, parts.place,
                  parts.accessibility);
    };
    actions.refreshRemoteCatalog = [parts] { fetchCatalog(parts.ports, parts.installation); };
    actions.offerAccessibility = [parts](const DesktopLimit& limit) {
        parts.accessibility.askOnce(limit);
    };
    actions.changeAccessibility = [parts] { parts.accessibility.change(); };
    actions.showHistory = parts.showHistory;
    actions.openSettings = parts.openSettings;
    actions.applySettings = parts.applySettings;
    actions.tell = [parts](Notification notice, bool panelIsShown, Notifier::Chosen chosen) {
        parts.notifier.tell(std::move(notice), panelIsShown, std::move(chosen));
    };
    actions.tellWaiting = [parts](bool panelIsShown) { parts.notifier.look(panelIsShown); };
    actions.newTurn = [parts]() -> std::optional<Notice> {
        const auto turn = parts.turns.look();
        if (!turn) return std::nullopt;
        return turnNotice(*turn, EvalBridge::base(parts.environment));
    };
    actions.panelShown = [parts] {
        parts.notifier.withdraw();
        parts.ports.dispatcher->background(
            [place = parts.ports.panelPlace.get()] { place->settle(); });
    };
    actions.connectUrl = kConnectURL();
    actions.reportAddress = [parts](const std::string& runId, auto open) {
        findReportAddress(parts.ports, parts.environment, parts.installation, runId,
                          std::move(open));
    };
    actions.isGradingPlaceUnknown = [parts] { return parts.place.isUnknown(); };
    actions.askWhereToGrade = [parts] { askWhereToGrade(gradingQuestion(parts)); };
    actions.keepService = [parts] { parts.place.look(); };
    return actions;
}

} // namespace kelvane
