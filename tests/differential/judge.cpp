#include "tests/differential/judge.h"

const Kind CERTIFICATE = {"certificate", LibraryCertificate, LibcryptoCertificate, SurveyCertificate};
const Kind CRL = {"CRL", LibraryCrl, LibcryptoCrl, SurveyCrl};

Tally g_tally;

namespace
{

void Count(const Facts &library, const Facts &libcrypto)
{
    g_tally.inputs += 1;
    g_tally.bothAccepted += library.accepted && libcrypto.accepted ? 1 : 0;
    g_tally.libraryOnly += library.accepted && !libcrypto.accepted ? 1 : 0;
    g_tally.libcryptoOnly += !library.accepted && libcrypto.accepted ? 1 : 0;
}

std::string ReasonsText(const std::set<Departure> &reasons)
{
    std::string text;
    for (const Departure reason : reasons) {
        text += "\n    " + DepartureText(reason);
    }
    return text.empty() ? "\n    no reason to refuse it" : text;
}

// What one decoder did against what the survey says that it does.
std::string JudgeAcceptance(const char *decoder, bool accepted, const std::set<Departure> &reasons)
{
    if (accepted == reasons.empty()) {
        return "";
    }
    return std::string("  ") + decoder + (accepted ? " accepts it in spite of:" : " refuses it, and there is:") +
           ReasonsText(reasons) + "\n";
}

std::string ValueOf(const Facts &facts, const std::string &field)
{
    const auto found = facts.fields.find(field);
    return found == facts.fields.end() ? "not there" : found->second;
}

std::string JudgeField(const std::string &field, const Facts &library, const Facts &libcrypto, const Survey &survey)
{
    if (survey.mayDiffer.count(field) != 0) {
        return "";
    }
    const std::string ours = ValueOf(library, field);
    const std::string theirs = ValueOf(libcrypto, field);
    const auto departure = survey.differing.find(field);
    if ((ours != theirs) == (departure != survey.differing.end())) {
        return "";
    }
    const std::string reason = departure == survey.differing.end() ? "without a known reason"
                                                                   : "in spite of " + DepartureText(departure->second);
    return "  " + field + (ours == theirs ? " agrees " : " differs ") + reason + "\n    library:   " + ours +
           "\n    libcrypto: " + theirs + "\n";
}

std::string JudgeFields(const Facts &library, const Facts &libcrypto, const Survey &survey)
{
    std::string text;
    for (const auto &[field, value] : library.fields) {
        text += JudgeField(field, library, libcrypto, survey);
    }
    for (const auto &[field, value] : libcrypto.fields) {
        if (library.fields.count(field) == 0) {
            text += JudgeField(field, library, libcrypto, survey);
        }
    }
    return text;
}

} // namespace

std::string Disagreement(const Kind &kind, const der::Bytes &input)
{
    const Facts library = kind.library(input);
    const Facts libcrypto = kind.libcrypto(input);
    const Survey survey = kind.survey(input);
    Count(library, libcrypto);
    std::string text = JudgeAcceptance("the library", library.accepted, survey.library);
    if (!IsOpen(survey.libcrypto)) {
        text += JudgeAcceptance("libcrypto", libcrypto.accepted, survey.libcrypto);
    }
    if (library.accepted && libcrypto.accepted) {
        text += JudgeFields(library, libcrypto, survey);
    }
    return text.empty() ? "" : std::string(kind.name) + ":\n" + text + "  input: " + HexOf(input) + "\n";
}
