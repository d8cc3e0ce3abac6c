// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// make_vectors DIRECTORY: writes the files of all cases and vectors.json, which says what each case must get.
//
// The keys are made anew and not kept, so every run makes another set; all else follows from this source, and two sets
// differ in nothing but keys, signatures and digests. A file that several cases have in common is written once.
#include <cstdio>
#include <filesystem>
#include <map>
#include <system_error>

#include "tests/forge/forge.h"
#include "vectors/make_vectors_case.h"

namespace
{
using namespace vectors;

constexpr char VERSION[] = "1.0.0";

struct Set {
    std::string directory;
    std::map<Bytes, std::string> names; // of the files, by their octets
    std::map<std::string, Bytes> files;
};

std::string Hex(const Bytes &octets)
{
    std::string text;
    for (const uint8_t octet : octets) {
        char digits[4] = {};
        (void)std::snprintf(digits, sizeof(digits), "%02x", octet);
        text += digits;
    }
    return text;
}

std::string Quoted(const std::string &text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "\"";
}

std::string Quoted(const std::vector<std::string> &texts)
{
    std::string list;
    for (const std::string &text : texts) {
        list += (list.empty() ? "" : ", ") + Quoted(text);
    }
    return "[" + list + "]";
}

std::string QuotedOrNull(const std::string &text)
{
    return text.empty() ? "null" : Quoted(text);
}

// ---- Files ---------------------------------------------------------------------------------------------------------

// The name of a file with these octets: the one that was the first to need it.
std::string NameFile(Set *set, const std::string &name, const Bytes &octets)
{
    const auto found = set->names.find(octets);
    if (found != set->names.end()) {
        return found->second;
    }
    set->names[octets] = name;
    set->files[name] = octets;
    return name;
}

bool WriteFiles(const Set &set)
{
    for (const auto &[name, octets] : set.files) {
        const std::filesystem::path path = set.directory + "/" + name;
        std::error_code failure;
        std::filesystem::create_directories(path.parent_path(), failure);
        const forge::Status status = forge::WriteFile(path.string(), octets);
        if (!status.ok) {
            std::fprintf(stderr, "make_vectors: %s\n", status.reason.c_str());
            return false;
        }
    }
    return true;
}

// SHA-256 over "DIGEST  NAME" lines of all files, in the order of their names.
std::string DigestOf(const Set &set)
{
    std::string lines;
    for (const auto &[name, octets] : set.files) {
        lines += Hex(HashOf(forge::Digest::Sha256, octets)) + "  " + name + "\n";
    }
    return Hex(HashOf(forge::Digest::Sha256, Octets(lines)));
}

// ---- The description -----------------------------------------------------------------------------------------------

std::string DescribeFiles(Set *set, const std::string &folder, const Case &one, const Package &package)
{
    const Files files = MakeFiles(package);
    std::string text;
    const struct {
        const char *key;
        const char *suffix;
        const Bytes *octets;
    } roles[] = {{"root", "root", &files.root},
                 {"crls", "crls", &files.crls},
                 {"signature", "signature", &files.signature},
                 {"content", "content", &files.content}};
    for (const auto &role : roles) {
        const std::string name = NameFile(set, "files/" + folder + "/" + one.name + "." + role.suffix, *role.octets);
        text += (text.empty() ? "" : ", ") + Quoted(role.key) + ": " + Quoted(name);
    }
    return text;
}

std::string DescribePadding(const Padding &padding)
{
    if (padding.file == nullptr) {
        return "null";
    }
    return "{\"file\": " + Quoted(padding.file) + ", \"size\": " + std::to_string(padding.size) +
           ", \"octet\": " + std::to_string(padding.octet) + "}";
}

std::string DescribeAnswers(const Case &one)
{
    char ours[80] = {};
    (void)std::snprintf(ours, sizeof(ours), "{\"answer\": \"%s\", \"status\": \"%08x\", \"exit_status\": %u}",
                        one.ours == SIGKIT_OK ? "accept" : "refuse", one.ours, one.ours & 0xFF);
    return std::string("\"expected\": ") + (one.rfc == Answer::Accept ? "\"accept\"" : "\"refuse\"") +
           ", \"verify_tool\": " + ours + ",\n   \"why_they_differ\": " + QuotedOrNull(one.reason);
}

std::string DescribeRule(const Rule &rule)
{
    return "{\"document\": " + Quoted(rule.document) + ", \"section\": " + Quoted(rule.section) +
           ", \"text\": " + Quoted(rule.text) + "}";
}

std::string DescribeCase(Set *set, const char *group, const Case &one)
{
    Package package = GoodPackage();
    if (one.change) {
        one.change(&package);
    }
    std::vector<std::string> features = one.features;
    if (package.otherRoot) {
        features.push_back("other_root");
    }
    return "  {\"id\": " + Quoted(std::string(group) + "::" + one.name) + ", \"group\": " + Quoted(group) + ",\n   " +
           DescribeAnswers(one) + ",\n   \"rule\": " + DescribeRule(*one.rule) +
           ",\n   \"twin\": " + QuotedOrNull(one.twin) + ", \"difference\": " + QuotedOrNull(one.difference) +
           ",\n   \"features\": " + Quoted(features) + ", \"importance\": " + Quoted(one.importance) +
           ", \"cve\": " + Quoted(one.cve) + ",\n   \"files\": {" + DescribeFiles(set, group, one, package) +
           "}, \"padding\": " + DescribePadding(one.padding) + "}";
}

std::string Describe(Set *set)
{
    std::string cases;
    for (const auto make : {SignatureCases, TimestampCases, PathCases, CrlCases, RevocationCases, EncodingCases,
                            ArmourCases, LimitCases}) {
        const Group group = make();
        for (const Case &one : group.cases) {
            cases += (cases.empty() ? "" : ",\n") + DescribeCase(set, group.name, one);
        }
    }
    return std::string("{\n  \"version\": \"") + VERSION + "\",\n  \"sha256\": \"" + DigestOf(*set) +
           "\",\n  \"cases\": [\n" + cases + "\n  ]\n}\n";
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: make_vectors DIRECTORY\n", stderr);
        return 2;
    }
    Set set;
    set.directory = argv[1];
    (void)NameFile(&set, "files/root", MakeFiles(GoodPackage()).root); // what a tool with one root is built with
    const std::string description = Describe(&set);
    if (!WriteFiles(set)) {
        return 1;
    }
    const forge::Status status = forge::WriteFile(set.directory + "/vectors.json", description);
    if (!status.ok) {
        std::fprintf(stderr, "make_vectors: %s\n", status.reason.c_str());
        return 1;
    }
    return 0;
}
