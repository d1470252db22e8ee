// What the running instance answers to others of its user.

#pragma once

#include <string>

namespace kelvane {

class CompanionModel;
class Environment;
class FileSystem;
class GradingPlace;

/// The line that tells how it is: `app/cli/status_report.h`.
[[nodiscard]] std::string statusLine(const CompanionModel& model, const GradingPlace& place,
                                     Environment& environment, FileSystem& files);

} // namespace kelvane
