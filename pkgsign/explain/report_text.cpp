// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A report as text for a terminal. The answer is its end: reports are longer than a screen, which shows the end.
#include <algorithm>

#include "pkgsign/explain/report.h"
#include "pkgsign/explain/wrap.h"

namespace pkgsign
{
namespace
{

constexpr size_t WORD_COLUMNS = 17;

std::string TextRow(const ReportRow &row)
{
    const std::string before = row.isInner ? "    " : "  ";
    std::string word = row.mark == Mark::Bad && row.word == "failed" ? "FAILED" : row.word;
    word.resize(std::max(word.size(), WORD_COLUMNS), ' ');
    const std::string first = before + (row.word.empty() ? "" : word);
    const std::string text = row.text + (row.detail.empty() ? "" : ": " + row.detail);
    return first + Wrap(text, first.size()) + "\n";
}

std::string AnswerText(const Report &report)
{
    std::string text = Wrap(report.headline + (report.meaning.empty() ? "" : ": " + report.meaning), 2) + "\n";
    for (const ReportRow &row : report.answer) {
        std::string word = row.word;
        word.resize(12, ' ');
        // A command is not broken: it is there to be copied.
        text += word + (row.word == "next" ? row.text : Wrap(row.text, word.size())) + "\n";
    }
    return text;
}

} // namespace

std::string TextReport(const Check &check)
{
    const Report report = MakeReport(check);
    std::string text;
    for (const ReportSection &section : report.sections) {
        text += section.title + "\n";
        for (const ReportRow &row : section.rows) {
            text += TextRow(row);
        }
        text += "\n";
    }
    return text + AnswerText(report);
}

} // namespace pkgsign
