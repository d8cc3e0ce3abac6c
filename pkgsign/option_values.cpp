#include "pkgsign/option_values.h"
#include "pkgsign/status.h"

#include <charconv>
#include <cstdio>
#include <ctime>

namespace
{
template <typename Value>
struct NamedValue {
    const char *name;
    Value value;
};

template <typename Value, size_t Count>
PkgsignStatus ChooseValue(const PkgsignArguments &arguments, const std::string &option,
                          const NamedValue<Value> (&choices)[Count], Value *valueOut)
{
    const std::string given = PkgsignOptionValue(arguments, option, choices[0].name);
    std::string names;
    for (const NamedValue<Value> &choice : choices) {
        if (given == choice.name) {
            *valueOut = choice.value;
            return PkgsignOk();
        }
        names += (names.empty() ? "" : ", ") + std::string(choice.name);
    }
    return PkgsignFail("option '--" + option + "' must be one of " + names + ", not '" + given + "'");
}

} // namespace

PkgsignStatus PkgsignReadTimeOption(const PkgsignArguments &arguments, const std::string &name, int64_t fallback,
                                    int64_t *secondsOut)
{
    if (!PkgsignHasOption(arguments, name)) {
        *secondsOut = fallback;
        return PkgsignOk();
    }
    PkgsignStatus status = PkgsignParseTime(PkgsignOptionValue(arguments, name), secondsOut);
    if (!status.ok) {
        status.reason = "option '--" + name + "': " + status.reason;
    }
    return status;
}

PkgsignStatus PkgsignReadDigestOption(const PkgsignArguments &arguments, PkgsignDigest *digestOut)
{
    static constexpr NamedValue<PkgsignDigest> CHOICES[] = {
        {"sha256", PkgsignDigest::Sha256}, {"sha384", PkgsignDigest::Sha384}, {"sha512", PkgsignDigest::Sha512}};
    return ChooseValue(arguments, "digest", CHOICES, digestOut);
}

PkgsignStatus PkgsignReadFormatOption(const PkgsignArguments &arguments, PkgsignFormat *formatOut)
{
    static constexpr NamedValue<PkgsignFormat> CHOICES[] = {
        {"der", PkgsignFormat::Der}, {"cms", PkgsignFormat::Cms}, {"pkcs7", PkgsignFormat::Pkcs7}};
    return ChooseValue(arguments, "format", CHOICES, formatOut);
}

PkgsignStatus PkgsignReadNumberOption(const PkgsignArguments &arguments, const std::string &name, int64_t least,
                                      int64_t most, int64_t fallback, int64_t *numberOut)
{
    if (!PkgsignHasOption(arguments, name)) {
        *numberOut = fallback;
        return PkgsignOk();
    }
    const std::string text = PkgsignOptionValue(arguments, name);
    const char *end = text.data() + text.size();
    int64_t number = 0;
    const auto [stop, problem] = std::from_chars(text.data(), end, number);
    if (problem != std::errc() || stop != end || number < least || number > most) {
        return PkgsignFail("option '--" + name + "' must be a number from " + std::to_string(least) + " to " +
                           std::to_string(most) + ", not '" + text + "'");
    }
    *numberOut = number;
    return PkgsignOk();
}

PkgsignStatus PkgsignReadRequiredOption(const PkgsignArguments &arguments, const std::string &name,
                                        std::string *valueOut)
{
    const std::string value = PkgsignOptionValue(arguments, name);
    if (value.empty()) {
        return PkgsignFail("option '--" + name + "' is required");
    }
    *valueOut = value;
    return PkgsignOk();
}

int64_t PkgsignNow()
{
    return std::time(nullptr);
}

PkgsignStatus PkgsignWriteOutput(const std::string &path, const PkgsignBytes &data)
{
    if (path != "-") {
        return PkgsignWriteFile(path, data);
    }
    if (std::fwrite(data.data(), 1, data.size(), stdout) != data.size() || std::fflush(stdout) != 0) {
        return PkgsignFail("cannot write to standard output");
    }
    return PkgsignOk();
}

PkgsignStatus PkgsignWriteMessage(const std::string &path, PkgsignFormat format, const PkgsignBytes &message)
{
    if (format == PkgsignFormat::Der) {
        return PkgsignWriteOutput(path, message);
    }
    const char *label = format == PkgsignFormat::Cms ? PKGSIGN_LABEL_CMS : PKGSIGN_LABEL_PKCS7;
    const std::string text = PkgsignArmour(label, message);
    return PkgsignWriteOutput(path, PkgsignBytes(text.begin(), text.end()));
}

PkgsignStatus PkgsignReadInput(const std::string &path, PkgsignBytes *derOut)
{
    PkgsignBytes data;
    PkgsignStatus status = PkgsignReadFile(path, &data);
    if (status.ok) {
        status = PkgsignUnarmour(data, derOut);
        status.reason = status.ok ? "" : "'" + path + "': " + status.reason;
    }
    return status;
}
