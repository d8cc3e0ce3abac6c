#include "pkgsign/option_values.h"
#include "tests/forge/status.h"

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
forge::Status ChooseValue(const PkgsignArguments &arguments, const std::string &option,
                          const NamedValue<Value> (&choices)[Count], Value *valueOut)
{
    const std::string given = PkgsignOptionValue(arguments, option, choices[0].name);
    std::string names;
    for (const NamedValue<Value> &choice : choices) {
        if (given == choice.name) {
            *valueOut = choice.value;
            return forge::Ok();
        }
        names += (names.empty() ? "" : ", ") + std::string(choice.name);
    }
    return forge::Fail("option '--" + option + "' must be one of " + names + ", not '" + given + "'");
}

} // namespace

forge::Status PkgsignReadTimeOption(const PkgsignArguments &arguments, const std::string &name, int64_t fallback,
                                    int64_t *secondsOut)
{
    if (!PkgsignHasOption(arguments, name)) {
        *secondsOut = fallback;
        return forge::Ok();
    }
    forge::Status status = forge::ParseTime(PkgsignOptionValue(arguments, name), secondsOut);
    if (!status.ok) {
        status.reason = "option '--" + name + "': " + status.reason;
    }
    return status;
}

forge::Status PkgsignReadDigestOption(const PkgsignArguments &arguments, forge::Digest *digestOut)
{
    static constexpr NamedValue<forge::Digest> CHOICES[] = {
        {"sha256", forge::Digest::Sha256}, {"sha384", forge::Digest::Sha384}, {"sha512", forge::Digest::Sha512}};
    return ChooseValue(arguments, "digest", CHOICES, digestOut);
}

forge::Status PkgsignReadFormatOption(const PkgsignArguments &arguments, PkgsignFormat *formatOut)
{
    static constexpr NamedValue<PkgsignFormat> CHOICES[] = {
        {"der", PkgsignFormat::Der}, {"cms", PkgsignFormat::Cms}, {"pkcs7", PkgsignFormat::Pkcs7}};
    return ChooseValue(arguments, "format", CHOICES, formatOut);
}

forge::Status PkgsignReadNumberOption(const PkgsignArguments &arguments, const std::string &name, int64_t least,
                                      int64_t most, int64_t fallback, int64_t *numberOut)
{
    if (!PkgsignHasOption(arguments, name)) {
        *numberOut = fallback;
        return forge::Ok();
    }
    const std::string text = PkgsignOptionValue(arguments, name);
    const char *end = text.data() + text.size();
    int64_t number = 0;
    const auto [stop, problem] = std::from_chars(text.data(), end, number);
    if (problem != std::errc() || stop != end || number < least || number > most) {
        return forge::Fail("option '--" + name + "' must be a number from " + std::to_string(least) + " to " +
                           std::to_string(most) + ", not '" + text + "'");
    }
    *numberOut = number;
    return forge::Ok();
}

forge::Status PkgsignReadRequiredOption(const PkgsignArguments &arguments, const std::string &name,
                                        std::string *valueOut)
{
    const std::string value = PkgsignOptionValue(arguments, name);
    if (value.empty()) {
        return forge::Fail("option '--" + name + "' is required");
    }
    *valueOut = value;
    return forge::Ok();
}

int64_t PkgsignNow()
{
    return std::time(nullptr);
}

forge::Status PkgsignWriteOutput(const std::string &path, const forge::Bytes &data)
{
    if (path != "-") {
        return forge::WriteFile(path, data);
    }
    if (std::fwrite(data.data(), 1, data.size(), stdout) != data.size() || std::fflush(stdout) != 0) {
        return forge::Fail("cannot write to standard output");
    }
    return forge::Ok();
}

forge::Status PkgsignWriteMessage(const std::string &path, PkgsignFormat format, const forge::Bytes &message)
{
    if (format == PkgsignFormat::Der) {
        return PkgsignWriteOutput(path, message);
    }
    const char *label = format == PkgsignFormat::Cms ? forge::LABEL_CMS : forge::LABEL_PKCS7;
    const std::string text = forge::Armour(label, message);
    return PkgsignWriteOutput(path, forge::Bytes(text.begin(), text.end()));
}

forge::Status PkgsignReadInput(const std::string &path, forge::Bytes *derOut)
{
    forge::Bytes data;
    forge::Status status = forge::ReadFile(path, &data);
    if (status.ok) {
        status = forge::Unarmour(data, derOut);
        status.reason = status.ok ? "" : "'" + path + "': " + status.reason;
    }
    return status;
}
