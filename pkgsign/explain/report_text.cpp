// A report as text for a terminal.
#include <cstdio>

#include "pkgsign/explain/report.h"

namespace pkgsign
{
namespace
{

constexpr size_t COLUMNS = 100;
constexpr size_t WORD_COLUMNS = 17;

// Octets of the character at `i`, which begins one: the text is valid UTF-8.
size_t CharacterSize(const std::string &text, size_t i)
{
    const unsigned char first = static_cast<unsigned char>(text[i]);
    return first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

size_t Width(const std::string &text)
{
    size_t width = 0;
    for (size_t i = 0; i < text.size(); i += CharacterSize(text, i)) {
        ++width;
    }
    return width;
}

// Breaks lines between words; `indent` columns stand before each but the first.
std::string Wrap(const std::string &text, size_t indent)
{
    std::string result;
    size_t column = indent;
    for (size_t i = 0; i < text.size();) {
        const size_t end = std::min(text.find(' ', i), text.size());
        const std::string word = text.substr(i, end - i);
        if (column + Width(word) > COLUMNS && column > indent) {
            result += "\n" + std::string(indent, ' ');
            column = indent;
        }
        result += word;
        column += Width(word);
        if (end < text.size() && column < COLUMNS) {
            result += ' ';
            ++column;
        }
        i = end + 1;
    }
    return result;
}

std::string TextRow(const ReportRow &row)
{
    const std::string before = row.isInner ? "    " : "  ";
    std::string word = row.mark == Mark::Bad && row.word == "failed" ? "FAILED" : row.word;
    word.resize(std::max(word.size(), WORD_COLUMNS), ' ');
    const std::string first = before + (row.word.empty() ? "" : word);
    const std::string text = row.text + (row.detail.empty() ? "" : ": " + row.detail);
    return first + Wrap(text, first.size()) + "\n";
}

std::string WithoutTrailingBlanks(const std::string &text)
{
    std::string result;
    for (const char octet : text) {
        while (octet == '\n' && !result.empty() && result.back() == ' ') {
            result.pop_back();
        }
        result += octet;
    }
    return result;
}

} // namespace

std::string TextReport(const Check &check)
{
    const Report report = MakeReport(check);
    std::string text = Wrap(report.headline + (report.meaning.empty() ? "" : ": " + report.meaning), 2) + "\n";
    for (const ReportRow &row : report.answer) {
        std::string word = row.word;
        word.resize(12, ' ');
        // A command is not broken: it is there to be copied.
        text += word + (row.word == "next" ? row.text : Wrap(row.text, word.size())) + "\n";
    }
    for (const ReportSection &section : report.sections) {
        text += "\n" + section.title + "\n";
        for (const ReportRow &row : section.rows) {
            text += TextRow(row);
        }
    }
    return WithoutTrailingBlanks(text);
}

} // namespace pkgsign
