// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The time line of a check: what was valid when the token was made.
#include <algorithm>
#include <cstdio>
#include <numeric>

#include "pkgsign/explain/check_words.h"
#include "pkgsign/explain/report.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"

namespace pkgsign
{
namespace
{

// A span of time with what happened in it.
struct Bar {
    std::string label;
    std::string color; // a name of the page's style
    int64_t from = 0;
    int64_t to = 0;
    std::vector<int64_t> revocations;
    bool endsFirst = false;
};

// The part of time that is shown. Roots live for decades and CRLs for weeks: what would make everything else too narrow
// to see goes beyond the edges.
struct Window {
    int64_t from = 0;
    int64_t to = 0;
};

constexpr int64_t SPANS_SHOWN = 10; // the shortest of the spans has at least this part of the picture

// In percent. What goes on beyond an edge ends outside it, so that no end is drawn.
double Share(const Window &window, int64_t time)
{
    const double share = (static_cast<double>(time) - static_cast<double>(window.from)) * 100.0 /
                         (static_cast<double>(window.to) - static_cast<double>(window.from));
    return std::clamp(share, -2.0, 102.0);
}

std::string Percent(double share)
{
    char text[32] = {};
    (void)std::snprintf(text, sizeof(text), "%.2f%%", share);
    return text;
}

bool IsEndOf(const Check &check, const std::string &what, int64_t time)
{
    return check.endsTime == time && check.endsWhat.find(what) != std::string::npos;
}

void AddRevocations(const PathFinding &path, size_t certificate, Bar *bar)
{
    for (const Judgement &judgement : path.judgements) {
        for (const EntryFinding &entry : judgement.entries) {
            if (judgement.certificate == certificate && IsWritable(entry.date)) {
                bar->revocations.push_back(*entry.date);
            }
        }
    }
}

// What the package is judged by, then the others: a CRL file may bring many.
std::vector<size_t> CertificatesInOrder(const Check &check)
{
    std::vector<size_t> all = PathUp(check, check.signerPath.certificate);
    std::vector<size_t> others = PathUp(check, check.authorityPath.certificate);
    for (size_t i = 0; i < check.certificates.size(); ++i) {
        others.push_back(i);
    }
    for (const size_t place : others) {
        if (std::find(all.begin(), all.end(), place) == all.end()) {
            all.push_back(place);
        }
    }
    return all;
}

std::vector<Bar> CertificateBars(const Check &check)
{
    std::vector<Bar> bars;
    for (const size_t i : CertificatesInOrder(check)) {
        const SeenCertificate &seen = check.certificates[i];
        if (!IsWritable(seen.notBefore) || !IsWritable(seen.notAfter) || *seen.notAfter <= *seen.notBefore) {
            continue;
        }
        Bar bar = {"'" + seen.subject + "'", seen.isCa ? "--ca" : "--bar", *seen.notBefore, *seen.notAfter, {}, false};
        bar.endsFirst = IsEndOf(check, "certificate", bar.to) && IsEndOf(check, seen.subject, bar.to);
        AddRevocations(check.signerPath, i, &bar);
        AddRevocations(check.authorityPath, i, &bar);
        bars.push_back(bar);
    }
    return bars;
}

bool Takes(const Judgement &judgement, size_t crl)
{
    return std::any_of(judgement.crls.begin(), judgement.crls.end(),
                       [crl](const CrlFinding &finding) { return finding.crl == crl && finding.use == CrlUse::Taken; });
}

bool IsTaken(const Check &check, size_t crl)
{
    const auto takes = [crl](const Judgement &judgement) { return Takes(judgement, crl); };
    const std::vector<Judgement> &signer = check.signerPath.judgements;
    const std::vector<Judgement> &authority = check.authorityPath.judgements;
    return std::any_of(signer.begin(), signer.end(), takes) || std::any_of(authority.begin(), authority.end(), takes);
}

std::vector<Bar> CrlBars(const Check &check)
{
    std::vector<size_t> places(check.crls.size());
    std::iota(places.begin(), places.end(), size_t{0});
    std::stable_partition(places.begin(), places.end(), [&](size_t place) { return IsTaken(check, place); });
    std::vector<Bar> bars;
    for (const size_t place : places) {
        const SeenCrl &crl = check.crls[place];
        if (IsWritable(crl.thisUpdate) && IsWritable(crl.nextUpdate) && *crl.nextUpdate > *crl.thisUpdate) {
            Bar bar = {"CRL of '" + crl.issuer + "'", "--crl", *crl.thisUpdate, *crl.nextUpdate, {}, false};
            bar.endsFirst = IsEndOf(check, "CRL", bar.to) && IsEndOf(check, crl.issuer, bar.to);
            bars.push_back(bar);
        }
    }
    return bars;
}

void Widen(int64_t time, Window *window)
{
    window->from = std::min(window->from, time);
    window->to = std::max(window->to, time);
}

// What must be seen: the token's time, revocations, and the nearer end of what does not hold at the token's time.
Window FindCore(const Check &check, const std::vector<Bar> &bars)
{
    const int64_t center = IsWritable(check.time) ? *check.time : bars.front().to;
    Window core = {center, center};
    for (const Bar &bar : bars) {
        for (const int64_t time : bar.revocations) {
            Widen(time, &core);
        }
        if (IsWritable(check.time) && (center < bar.from || center > bar.to)) {
            Widen(center < bar.from ? bar.from : bar.to, &core);
        }
    }
    return core;
}

// The core, and the spans around it from the shortest on, as long as the first of them stays wide enough to be seen.
Window FindWindow(const Check &check, std::vector<Bar> bars)
{
    std::sort(bars.begin(), bars.end(),
              [](const Bar &one, const Bar &other) { return one.to - one.from < other.to - other.from; });
    Window window = FindCore(check, bars);
    Widen(bars.front().from, &window);
    Widen(bars.front().to, &window);
    const int64_t widest = std::max(window.to - window.from, (bars.front().to - bars.front().from) * SPANS_SHOWN);
    for (const Bar &bar : bars) {
        Window wider = window;
        Widen(bar.from, &wider);
        Widen(bar.to, &wider);
        window = wider.to - wider.from <= widest ? wider : window;
    }
    const int64_t margin = std::max<int64_t>((window.to - window.from) / 20, SECONDS_PER_DAY);
    return {std::max(window.from - margin, WRITABLE_FIRST), std::min(window.to + margin, WRITABLE_LAST)};
}

std::string Diamond(const Window &window, int64_t time)
{
    return "<svg x=\"" + Percent(Share(window, time)) +
           "\" y=\"2\" overflow=\"visible\"><path d=\"M0 0 L7 9 L0 18 L-7 9 Z\" fill=\"var(--bad)\" "
           "stroke=\"var(--paper)\"/></svg>"; // set off from the token's time
}

std::string Drawing(const Check &check, const Window &window, const Bar &bar)
{
    const double from = Share(window, bar.from);
    const double to = Share(window, bar.to);
    const double width = std::max(to - from, 0.4);
    std::string svg = "<svg height=\"22\" aria-hidden=\"true\"><rect x=\"0\" y=\"10\" width=\"100%\" height=\"2\" "
                      "fill=\"var(--line)\"/><rect x=\"" +
                      Percent(from) + "\" y=\"5\" width=\"" + Percent(width) + "\" height=\"12\" rx=\"2\" fill=\"var(" +
                      bar.color + ")\"/>";
    if (IsWritable(check.time)) {
        const double share = Share(window, *check.time);
        const int shift = share > 99.0 ? -2 : 0; // its width: at the end of time it stays within the picture
        const std::string at = "<rect x=\"" + Percent(share) + "\" y=\"0\" height=\"22\" width=\"";
        // Set off from the bar, whose colour may be near.
        svg += at + "6\" transform=\"translate(" + std::to_string(shift - 2) + ")\" fill=\"var(--paper)\"/>" + at +
               "2\" transform=\"translate(" + std::to_string(shift) + ")\" fill=\"var(--now)\"/>";
    }
    for (const int64_t time : bar.revocations) {
        svg += Diamond(window, time);
    }
    return svg + "</svg>";
}

std::string BarHtml(const Check &check, const Window &window, const Bar &bar)
{
    std::string dates = FormatTime(bar.from) + " to " + FormatTime(bar.to);
    for (const int64_t time : bar.revocations) {
        dates += "; entry of a CRL: " + FormatTime(time);
    }
    if (bar.from < window.from || bar.to > window.to) {
        dates += "; reaches beyond the picture";
    }
    return "<div class=\"bar\">" + HtmlText(Printable(bar.label)) +
           (bar.endsFirst ? " <strong>ends first</strong>" : "") + "<span class=\"detail\">" + HtmlText(dates) +
           "</span>" + Drawing(check, window, bar) + "</div>\n";
}

std::string Swatch(const char *color, const std::string &text)
{
    return std::string("<span><span class=\"key\" style=\"background: var(") + color + ")\"></span>" + HtmlText(text) +
           "</span> ";
}

} // namespace

std::string Picture(const Check &check)
{
    std::vector<Bar> bars = CertificateBars(check);
    const std::vector<Bar> crls = CrlBars(check);
    bars.insert(bars.end(), crls.begin(), crls.end());
    if (bars.empty()) {
        return "";
    }
    const Window window = FindWindow(check, bars);
    std::string html = "<section>\n<h2>Time line</h2>\n<figure>\n";
    for (const Bar &bar : bars) {
        html += BarHtml(check, window, bar);
    }
    html += "<div class=\"axis\"><svg height=\"20\" role=\"img\" aria-label=\"From " + FormatTime(window.from) +
            " to " + FormatTime(window.to) + "\"><text x=\"0\" y=\"15\">" + FormatTime(window.from).substr(0, 10) +
            "</text><text x=\"100%\" y=\"15\" text-anchor=\"end\">" + FormatTime(window.to).substr(0, 10) +
            "</text></svg></div>\n<figcaption>" + Swatch("--bar", "certificate") + Swatch("--ca", "CA certificate") +
            Swatch("--crl", "CRL, from thisUpdate to nextUpdate");
    html += IsWritable(check.time) ? Swatch("--now", "the token's time, " + FormatTime(*check.time)) : "";
    const bool hasRevocation =
        std::any_of(bars.begin(), bars.end(), [](const Bar &bar) { return !bar.revocations.empty(); });
    html += hasRevocation ? Swatch("--bad", "revocation") : "";
    return html + "</figcaption>\n</figure>\n</section>\n";
}

} // namespace pkgsign
