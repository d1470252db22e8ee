// The rules that concern headings, lists, tables, links, notes and references.
//
// They stand apart from the rules for the prose itself. Each reads the outline once and adds what
// it finds, nothing where all is well; docs/critics.md lists them with examples. Linear; any
// thread.

#pragma once

#include "critics/document/markdown.h"
#include "critics/findings/finding_list.h"
#include "critics/text/prose_rules.h"

namespace trevix {

struct DocumentView {
    const SourceText& source;
    const Outline& outline;
    const ProseView& view;
};

void checkHeadings(const DocumentView& document, FindingList& findings);
void checkNumberedLists(const DocumentView& document, FindingList& findings);
void checkTables(const DocumentView& document, FindingList& findings);
void checkUnclosedParts(const DocumentView& document, FindingList& findings);
void checkSpellings(const DocumentView& document, FindingList& findings);
void checkLinks(const DocumentView& document, FindingList& findings);
void checkNotes(const DocumentView& document, FindingList& findings);
void checkNumberedReferences(const DocumentView& document, FindingList& findings);

} // namespace trevix
