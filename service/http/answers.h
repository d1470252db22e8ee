// Answers as every part of the API writes them.
//
// Each says that it is private and is what it says it is, that nobody may frame it, and that the
// address that a link in it was followed from is nobody's business. Pure; any thread.

#pragma once

#include "service/http/http_server.h"
#include "service/report/report_page.h"

#include <string>
#include <string_view>

namespace trevix {

[[nodiscard]] HttpAnswer guarded(HttpAnswer answer);
[[nodiscard]] HttpAnswer jsonAnswer(int status, std::string body);
[[nodiscard]] HttpAnswer errorAnswer(int status, std::string_view text);
[[nodiscard]] HttpAnswer pageAnswer(int status, Page page);
/// A page whose forms come back to the service. The browser names the page's origin with a form
/// only where it may name the address that a link was followed from to the same origin.
[[nodiscard]] HttpAnswer formPageAnswer(int status, Page page);
/// The method cannot be used here; `allowed` as the header Allow has it.
[[nodiscard]] HttpAnswer wrongMethod(std::string_view text, std::string allowed);

} // namespace trevix
