// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A report as one page: no script, nothing from elsewhere.
#include "pkgsign/explain/report.h"

namespace pkgsign
{
namespace
{

constexpr char STYLE[] = R"(
:root { color-scheme: light dark; --ink: #1b1f24; --dim: #57606a; --paper: #fff; --line: #d0d7de; --soft: #f3f5f7;
  --good: #116329; --bad: #b3141f; --open: #57606a; --bar: #3f78b8; --ca: #7d90a4; --crl: #a8791f; --now: #8250df; }
@media (prefers-color-scheme: dark) { :root { --ink: #e6edf3; --dim: #9aa5b1; --paper: #10151b; --line: #3a434d;
  --soft: #1a2129; --good: #56d364; --bad: #ff8079; --open: #9aa5b1; --bar: #4f8fd6; --ca: #748a9f; --crl: #c29335;
  --now: #c297ff; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 60rem; padding: 1rem 1.25rem 3rem; background: var(--paper); color: var(--ink);
  font: 1rem/1.5 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.35rem; line-height: 1.3; margin: 0.5rem 0; }
h2 { font-size: 1.05rem; margin: 2rem 0 0.5rem; border-bottom: 1px solid var(--line); break-after: avoid; }
.verdict { border-left: 0.4rem solid var(--bad); padding: 0.25rem 1rem; background: var(--soft); }
.verdict.good { border-color: var(--good); }
.verdict p { margin: 0.25rem 0; }
dl { display: grid; grid-template-columns: 6rem 1fr; gap: 0.35rem 1rem; margin: 1rem 0; }
dt { color: var(--dim); }
dd { margin: 0; }
ul { list-style: none; margin: 0; padding: 0; }
li { display: grid; grid-template-columns: 8rem 1fr; gap: 0 1rem; padding: 0.25rem 0; break-inside: avoid; }
li.inner { margin-left: 2rem; }
li.plain { grid-template-columns: 1fr; }
.word { font-weight: 600; color: var(--open); }
.good > .word { color: var(--good); }
.bad > .word { color: var(--bad); }
.detail { display: block; color: var(--dim); }
.time, .option { white-space: nowrap; }
code { font-family: ui-monospace, monospace; font-size: 0.95em; }
figure { margin: 1rem 0; }
figcaption { color: var(--dim); margin: 0.5rem 0; }
figcaption > span { display: inline-block; margin-right: 0.8rem; }
.bar { padding: 0.3rem 0; break-inside: avoid; }
.bar svg, .axis svg { display: block; width: 100%; }
svg text { fill: var(--dim); font: 0.8rem system-ui, sans-serif; }
.key { display: inline-block; width: 0.8rem; height: 0.8rem; vertical-align: -0.1rem; margin: 0 0.3rem 0 0; }
@media (max-width: 40rem) {
  body { padding: 0.75rem; }
  dl, li { grid-template-columns: 1fr; }
  dl { gap: 0; }
  dd { margin-bottom: 0.6rem; }
  li.inner { margin-left: 1rem; }
}
@media print { body { max-width: none; padding: 0; font-size: 10pt; } * { print-color-adjust: exact; } }
)";

const char *ClassOf(Mark mark)
{
    return mark == Mark::Good ? "good" : mark == Mark::Bad ? "bad" : mark == Mark::Open ? "open" : "none";
}

std::string Answer(const Report &report)
{
    std::string html = "<dl>\n";
    for (const ReportRow &row : report.answer) {
        const std::string text = HtmlText(row.text);
        html += "<dt>" + EscapeHtml(row.word) + "</dt><dd>" +
                (row.word == "next" ? "<code>" + text + "</code>" : text) + "</dd>\n";
    }
    return html + "</dl>\n";
}

std::string Row(const ReportRow &row)
{
    std::string html = std::string("<li class=\"") + ClassOf(row.mark) + (row.isInner ? " inner" : "") +
                       (row.word.empty() ? " plain" : "") + "\">";
    if (!row.word.empty()) {
        html += "<span class=\"word\">" + EscapeHtml(row.word) + "</span>";
    }
    html += "<span>" + HtmlText(row.text);
    if (!row.detail.empty()) {
        html += "<span class=\"detail\">" + HtmlText(row.detail) + "</span>";
    }
    return html + "</span></li>\n";
}

} // namespace

std::string HtmlReport(const Check &check)
{
    const Report report = MakeReport(check);
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
                       EscapeHtml(report.headline) + "</title>\n<style>" + STYLE + "</style>\n</head>\n<body>\n" +
                       "<div class=\"verdict " + ClassOf(report.verdict) + "\">\n<h1>" + HtmlText(report.headline) +
                       "</h1>\n";
    html += (report.meaning.empty() ? "" : "<p>" + EscapeHtml(report.meaning) + "</p>\n") + std::string("</div>\n");
    html += Answer(report) + Picture(check);
    for (const ReportSection &section : report.sections) {
        html += "<section>\n<h2>" + EscapeHtml(section.title) + "</h2>\n<ul>\n";
        for (const ReportRow &row : section.rows) {
            html += Row(row);
        }
        html += "</ul>\n</section>\n";
    }
    return html + "</body>\n</html>\n";
}

} // namespace pkgsign
