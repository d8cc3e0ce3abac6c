#include "pkgsign/arguments.h"
#include "tests/forge/status.h"

namespace
{
const PkgsignOption *FindKnown(const std::vector<PkgsignOption> &known, const std::string &name)
{
    for (const PkgsignOption &option : known) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

// Takes the option at `position`, which is left at the option's last word.
forge::Status ParseOption(const std::vector<std::string> &words, const std::vector<PkgsignOption> &known,
                          size_t *position, PkgsignArguments *arguments)
{
    const std::string &word = words[*position];
    const size_t equals = word.find('=');
    const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
    const PkgsignOption *option = FindKnown(known, name);
    if (option == nullptr || word.compare(0, 2, "--") != 0) {
        return forge::Fail("unknown option '" + word + "'");
    }
    std::string value;
    if (!option->takesValue) {
        if (equals != std::string::npos) {
            return forge::Fail("option '--" + name + "' takes no value");
        }
    } else if (equals != std::string::npos) {
        value = word.substr(equals + 1);
    } else if (*position + 1 < words.size()) {
        value = words[++*position];
    } else {
        return forge::Fail("option '--" + name + "' needs a value");
    }
    arguments->options.emplace_back(name, value);
    return forge::Ok();
}

} // namespace

forge::Status PkgsignParseArguments(const std::vector<std::string> &words, const std::vector<PkgsignOption> &known,
                                    PkgsignArguments *argumentsOut)
{
    PkgsignArguments arguments;
    bool optionsEnded = false;
    for (size_t position = 0; position < words.size(); ++position) {
        const std::string &word = words[position];
        if (!optionsEnded && word == "--") {
            optionsEnded = true;
        } else if (optionsEnded || word.size() < 2 || word.front() != '-') {
            arguments.operands.push_back(word); // "-" alone is an operand
        } else {
            const forge::Status status = ParseOption(words, known, &position, &arguments);
            if (!status.ok) {
                return status;
            }
        }
    }
    *argumentsOut = arguments;
    return forge::Ok();
}

bool PkgsignHasOption(const PkgsignArguments &arguments, const std::string &name)
{
    return !PkgsignOptionValues(arguments, name).empty();
}

std::string PkgsignOptionValue(const PkgsignArguments &arguments, const std::string &name, const std::string &fallback)
{
    const std::vector<std::string> values = PkgsignOptionValues(arguments, name);
    return values.empty() ? fallback : values.back();
}

std::vector<std::string> PkgsignOptionValues(const PkgsignArguments &arguments, const std::string &name)
{
    std::vector<std::string> values;
    for (const auto &[given, value] : arguments.options) {
        if (given == name) {
            values.push_back(value);
        }
    }
    return values;
}
