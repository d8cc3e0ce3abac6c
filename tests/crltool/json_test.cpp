// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// JSON, whatever octets names and paths have.
#include "tests/crltool/compare_fixture.h"

namespace
{

constexpr int TELETEX_STRING = 20; // takes any octets

// Octets from one to another.
std::string Range(int from, int to)
{
    std::string octets;
    for (int octet = from; octet <= to; ++octet) {
        octets += static_cast<char>(octet);
    }
    return octets;
}

// Texts at the edges of UTF-8 (RFC 3629, 4): characters of each length, and what looks like one but is none.
const std::string EDGES[] = {
    "\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbd\xef\xbf\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", // first and last
    "\xc0\x80 \xc1\xbf \xe0\x80\x80 \xe0\x9f\xbf \xf0\x80\x80\x80 \xf0\x8f\xbf\xbf",        // longer than need be
    "\xed\xa0\x80 \xed\xbf\xbf \xed\xa0\xbd\xed\xb8\x80",                                   // surrogates
    "\xf4\x90\x80\x80 \xf5\x80\x80\x80 \xf8\x88\x80\x80\x80 \xfe \xff",                     // beyond U+10FFFF
    "\x80 \xbf \xc3( \xe2\x82( \xe2(\xac \xf0\x9f\x98( \xf0\x9f( \xf0(\x98\x80",            // cut
    "\xf0\x9f\x98",                                                                         // cut by the end
    "\" \\ / \\\" \\u0041 </script> \xe2\x80\xa8\xe2\x80\xa9",                              // of JSON itself
};

} // namespace

TEST_F(Compare, JsonIsValidWhateverOctetsAPathHas)
{
    std::string file;
    for (const std::string &name : {Range(0x01, '/' - 1), Range('/' + 1, 0x7f), Range(0x80, 0xbf), Range(0xc0, 0xff)}) {
        file = WriteCrls(name, 0);
        const Json json(Run({"--json", "--root", Root(), file, file}).output);
        EXPECT_EQ("True", json.Get("json['files'][0]['path'] == json['files'][1]['path'] == text[0]", {file}));
        EXPECT_EQ("True", json.Get("json['verdict'] == text[0] + ' and ' + text[0] + ' are equally new.'", {file}));
    }
    std::string edges;
    for (const std::string &edge : EDGES) {
        edges += edge + " ";
        const Json error(Run({"--json", "--root", Root(), file, edge + "/missing"}).output);
        EXPECT_EQ("True",
                  error.Get("json['verdict'] == text[0] + '/missing: the file cannot be opened (88000101)'", {edge}));
    }
    const Json misuse(Run({"--json", "--" + edges}).output);
    EXPECT_EQ("True", misuse.Get("json['verdict'] == 'wrong option --' + text[0]", {edges}));
}

TEST_F(Compare, JsonIsValidWhateverOctetsANameHas)
{
    std::vector<std::string> names(std::begin(EDGES), std::end(EDGES));
    for (int from = 0x01; from <= 0xff; from += 100) {
        names.push_back(Range(from, std::min(from + 99, 0xff)));
    }
    for (const std::string &name : names) {
        forge::CertificateRequest request = CertificateRequest("", &AllParties().root);
        request.subject = {{"CN", name, false, TELETEX_STRING}};
        const Party odd = Certify(request);
        const std::string file = Write("file", Join({odd.certificate, MakeCrl(CrlRequest(odd))}));
        const Json json(Run({"--json", "--root", Root(), file, file}).output);
        EXPECT_EQ("True", json.Get("json['files'][0]['crls'][0]['issuer'] == 'CN=' + text[0]", {name})) << name;
    }
}
