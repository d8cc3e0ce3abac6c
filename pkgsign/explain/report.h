// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A check as a report for people: what text and HTML have in common.
#ifndef PKGSIGN_EXPLAIN_REPORT_H
#define PKGSIGN_EXPLAIN_REPORT_H

#include <string>
#include <vector>

#include "pkgsign/explain/check.h"

namespace pkgsign
{

enum class Mark { None, Good, Bad, Open };

// All texts are fit to be shown: see Printable.
struct ReportRow {
    Mark mark = Mark::None;
    std::string word; // "passed"
    std::string text;
    std::string detail;
    bool isInner = false; // belongs to the row before
};

struct ReportSection {
    std::string title;
    std::vector<ReportRow> rows;
};

struct Report {
    Mark verdict = Mark::Bad;
    std::string headline; // "checksums: refused, 88200012"
    std::string meaning;
    std::vector<ReportRow> answer; // cause, remedy, next command, token's time
    std::vector<ReportSection> sections;
};

Report MakeReport(const Check &check);

std::string TextReport(const Check &check);
std::string JsonReport(const Check &check);
std::string HtmlReport(const Check &check);

// The time line of the page.
std::string Picture(const Check &check);

// `text` between tags or in an attribute.
std::string EscapeHtml(const std::string &text);

// `text` of any direction of writing, as text of the page. Times and options in it are not broken, and times not moved
// by letters before them that are written from the right.
std::string HtmlText(const std::string &text);

} // namespace pkgsign

#endif
