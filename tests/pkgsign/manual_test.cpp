// The manual page has every option of every command.
#include <sstream>

#include "pkgsign/files/files.h"
#include "tests/pkgsign/support.h"

namespace
{

class Manual : public InFolder
{
};

// The long options in the help of a command.
std::vector<std::string> LongOptions(const std::string &help)
{
    std::vector<std::string> options;
    std::istringstream words(help);
    std::string word;
    while (words >> word) {
        const size_t at = word.find("--");
        const bool isOption = at == 0 || (at == 3 && word[0] == '-' && word[2] == ',');
        const size_t end = word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at == std::string::npos ? 0 : at);
        if (isOption && end == std::string::npos && word.size() > at + 2) {
            options.push_back(word.substr(at + 2));
        }
    }
    return options;
}

TEST_F(Manual, HasEveryOptionOfEveryCommand)
{
    pkgsign::Bytes text;
    ASSERT_TRUE(pkgsign::ReadWhole(PKGSIGN_MANUAL, &text).ok);
    const std::string manual(text.begin(), text.end());
    size_t count = 0;
    for (const char *const name :
         {"init", "request", "issue", "revoke", "crl", "list", "import", "checksums", "sign", "timestamp", "serve"}) {
        EXPECT_TRUE(Contains(manual, std::string(".It Cm ") + name + "\n")) << name;
        for (const std::string &option : LongOptions(Pkgsign({name, "--help"}).out)) {
            EXPECT_TRUE(Contains(manual, "Fl -" + option)) << name << " --" << option;
            ++count;
        }
    }
    EXPECT_GT(count, 60u);
}

} // namespace
