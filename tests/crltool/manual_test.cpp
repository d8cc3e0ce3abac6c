// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The example of the manual page, as a device would run it.
#include "tests/crltool/compare_fixture.h"

namespace
{

struct ManualExample : Compare {
    std::string Script()
    {
        forge::Bytes page;
        EXPECT_TRUE(forge::ReadFile(CRL_COMPARE_MANUAL, &page).ok);
        const std::string text(page.begin(), page.end());
        const size_t begin = text.find('\n', text.find(".Bd -literal"));
        const size_t end = text.find(".Ed", begin);
        return end == std::string::npos ? "false" : text.substr(begin, end - begin);
    }

    // The file of a device that had `before` and was offered `upgrade`.
    forge::Bytes FileAfter(const std::string &before, const std::string &upgrade)
    {
        const std::string setUp = "cd '" + directory.path + "' && cp '" + before + "' device.crl && cp '" + upgrade +
                                  "' upgrade.crl && PATH='" + CRL_COMPARE_DIRECTORY + "':$PATH\n";
        (void)Root();
        (void)RunProcess({"/bin/sh", "-c", setUp + Script()}, {"QZLOG=/dev/null"});
        return Read("device.crl");
    }

    forge::Bytes Read(const std::string &name)
    {
        forge::Bytes bytes;
        EXPECT_TRUE(forge::ReadFile(directory.File(name), &bytes).ok);
        return bytes;
    }
};

} // namespace

TEST_F(ManualExample, TakesANewerFileAndNoOther)
{
    const std::string older = WriteCrls("older", 0);
    const std::string newer = WriteCrls("newer", 60);
    EXPECT_EQ(Read("newer"), FileAfter(older, newer));
    EXPECT_EQ(Read("newer"), FileAfter(newer, older));
    EXPECT_EQ(Read("older"), FileAfter(older, WriteCrls("conflict", 60, -60)));
    EXPECT_EQ(Read("older"), FileAfter(older, Write("garbage", forge::Bytes(100, 0x30))));
}

TEST_F(ManualExample, ComparesTheCopyThatItTakes)
{
    const std::string script = Script();
    const size_t copied = script.find("cp upgrade.crl device.crl.new");
    const size_t compared = script.find("crl_compare --root root.der device.crl device.crl.new");
    const size_t renamed = script.find("mv device.crl.new device.crl");
    EXPECT_LT(copied, compared);
    EXPECT_LT(compared, renamed);
    EXPECT_NE(std::string::npos, renamed);
}
