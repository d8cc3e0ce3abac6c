// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Armour: PEM around messages and CRLs, as RFC 7468 has it and as it comes.
#include <algorithm>

#include "vectors/make_vectors_case.h"
#include "vectors/make_vectors_element.h"

namespace vectors
{
namespace
{
constexpr Rule TEXT = {"RFC 7468", "2", "Base64 between two lines with the same label."};
constexpr Rule LABELS = {"RFC 7468", "4", "The labels of CRLs and messages are X509 CRL, CMS and PKCS7."};
constexpr Rule AROUND = {"RFC 7468", "2", "Text before, between and behind the blocks does not count."};
constexpr Rule BLANKS = {"RFC 7468", "2", "White space and other characters that are not Base64 are ignored."};
constexpr Rule LINE_ENDS = {"RFC 7468", "2", "Lines end in LF, CR LF or CR."};
constexpr Rule LINE_SIZES = {"RFC 7468", "2", "Lines of other lengths than 64 may be read."};
constexpr Rule PADDING = {"RFC 4648", "3.2", "Base64 is filled up with = to four characters."};
constexpr Rule ONE_OBJECT = {"RFC 7468", "6", "A block holds one object."};

constexpr char MESSAGE[] = "armour::message_in_pem";
constexpr char CRLS[] = "armour::crls_in_pem";

using TextEdit = std::function<std::string(std::string)>;

std::string Text(const Bytes &octets)
{
    return std::string(octets.begin(), octets.end());
}

// The message in one block, which is then changed as text.
Change Message(const TextEdit &edit, const std::string &label = forge::LABEL_CMS)
{
    return [edit, label](Package *p) {
        p->message.whole = [edit, label](const Bytes &der) {
            const std::string text = forge::Armour(label, der);
            return Octets(edit ? edit(text) : text);
        };
    };
}

// The CRLs in a block each; one of them, the signing CA's, is changed as text.
Change Crls(const TextEdit &edit)
{
    return [edit](Package *p) {
        for (size_t i = 0; i < p->crls.size(); ++i) {
            p->crls[i].whole = [edit, i](const Bytes &der) {
                const std::string text = forge::Armour(forge::LABEL_CRL, der);
                return Octets(edit && i == SIGNING_CRL ? edit(text) : text);
            };
        }
    };
}

Change CrlFile(const TextEdit &edit)
{
    return [edit](Package *p) {
        Crls(nullptr)(p);
        p->crlFile = [edit](const Bytes &file) { return Octets(edit(Text(file))); };
    };
}

std::string Replace(std::string text, const std::string &what, const std::string &with, bool everywhere = false)
{
    size_t at = text.find(what);
    while (at != std::string::npos) {
        text.replace(at, what.size(), with);
        at = everywhere ? text.find(what, at + with.size()) : std::string::npos;
    }
    return text;
}

TextEdit Replacing(const std::string &what, const std::string &with, bool everywhere = false)
{
    return [=](const std::string &text) { return Replace(text, what, with, everywhere); };
}

// A place inside the second line of Base64.
size_t SecondLine(const std::string &text)
{
    return text.find('\n', text.find('\n') + 1) + 10;
}

TextEdit Inserting(const std::string &with)
{
    return [with](std::string text) { return text.insert(SecondLine(text), with); };
}

std::string OneLine(std::string text)
{
    const size_t begin = text.find('\n') + 1;
    const size_t end = text.find("-----END");
    std::string body = text.substr(begin, end - begin);
    body.erase(std::remove(body.begin(), body.end(), '\n'), body.end());
    return text.substr(0, begin) + body + "\n" + text.substr(end);
}

// ---- Messages ------------------------------------------------------------------------------------------------------

void AddMessages(Group *group)
{
    Accepted(group, "message_in_pem", TEXT, Message(nullptr));
    Accepted(group, "message_in_pem_as_pkcs7", LABELS, Message(nullptr, forge::LABEL_PKCS7));
    Accepted(group, "message_with_cr_lf", LINE_ENDS, Message(Replacing("\n", "\r\n", true)));
    Accepted(group, "message_with_cr", LINE_ENDS, Message(Replacing("\n", "\r", true)));
    Accepted(group, "message_in_one_line", LINE_SIZES, Message(OneLine));
    Accepted(group, "message_with_text_behind", AROUND,
             Message([](const std::string &text) { return text + "more text\n"; }));
    Accepted(group, "message_with_blank_lines", BLANKS, Message(Replacing("\n", "\n\n", true)));
    Accepted(group, "message_with_blanks_at_the_end_of_lines", BLANKS, Message(Replacing("\n", "  \n", true)));
    Narrow(group, {"message_with_text_before", MESSAGE, "signature#armour", SIGKIT_ERR_CMS_DECODE}, AROUND,
           "Armour begins with the first octet; everything else is taken for DER.",
           Message([](const std::string &text) { return "text\n" + text; }));
    Narrow(group, {"message_with_a_blank_in_a_line", MESSAGE, "signature#armour", SIGKIT_ERR_CMS_DECODE}, BLANKS,
           "A blank inside a line is refused: it is not where line ends and edits leave one.", Message(Inserting(" ")));
    Narrow(group, {"message_with_a_tab_in_a_line", MESSAGE, "signature#armour", SIGKIT_ERR_CMS_DECODE}, BLANKS,
           "A character outside the alphabet counts as a digit, so the octets behind it are others.",
           Message(Inserting("\t")));
    Narrow(group, {"message_with_a_character_of_no_digit", MESSAGE, "signature#armour", SIGKIT_ERR_CMS_DECODE}, BLANKS,
           "A character outside the alphabet counts as a digit, so the octets behind it are others.",
           Message(Inserting("*")));
    Narrow(group, {"message_with_an_octet_above_127", MESSAGE, "signature#armour", SIGKIT_ERR_CMS_DECODE}, BLANKS,
           "An octet above 127 is no character of a text.", Message(Inserting("\xC3")));
}

void AddBrokenMessages(Group *group)
{
    const auto refused = [group](const char *name, const Rule &rule, const Change &change) {
        Refused(group, {name, MESSAGE, "signature#armour", SIGKIT_ERR_CMS_DECODE}, rule, change);
    };
    refused("message_without_its_end", TEXT, Message(Replacing("-----END CMS-----\n", "")));
    refused("message_with_another_end", TEXT, Message(Replacing("END CMS", "END PKCS7")));
    refused("message_of_another_label", LABELS, Message(nullptr, "SIGNATURE"));
    refused("message_called_a_certificate", LABELS, Message(nullptr, forge::LABEL_CERTIFICATE));
    refused("message_of_a_label_in_small_letters", LABELS, Message(Replacing("CMS-----", "cms-----", true)));
    refused("message_with_a_character_missing", PADDING,
            Message([](std::string text) { return text.erase(SecondLine(text), 1); }));
    refused("message_with_an_equals_sign_inside", PADDING, Message(Inserting("=")));
    refused("message_with_three_equals_signs", PADDING, Message(Replacing("\n-----END", "===\n-----END")));
    refused("message_with_a_header", TEXT,
            Message(Replacing("-----BEGIN CMS-----\n", "-----BEGIN CMS-----\nProc-Type: 4,ENCRYPTED\n\n")));
    const auto another = [group](const char *name, const Change &change) {
        Refused(group, {name, MESSAGE, "signature", SIGKIT_ERR_CMS_DECODE}, TEXT, change);
    };
    another("message_with_a_label_and_no_base64", [](Package *p) {
        p->message.whole = [](const Bytes &) { return Octets("-----BEGIN CMS-----\n\n\n\n\n\n-----END CMS-----\n"); };
    });
    another("message_in_armour_of_armour", [](Package *p) {
        p->message.whole = [](const Bytes &der) {
            return Octets(forge::Armour(forge::LABEL_CMS, Octets(forge::Armour(forge::LABEL_CMS, der))));
        };
    });
}

// ---- CRLs ----------------------------------------------------------------------------------------------------------

void AddCrls(Group *group)
{
    Accepted(group, "crls_in_pem", TEXT, Crls(nullptr));
    Accepted(group, "crls_with_cr_lf", LINE_ENDS, CrlFile(Replacing("\n", "\r\n", true)));
    Accepted(group, "crls_in_one_line", LINE_SIZES, Crls(OneLine));
    Accepted(group, "crls_with_text_between", AROUND,
             CrlFile(Replacing("-----END X509 CRL-----\n", "-----END X509 CRL-----\nof the CA:\n", true)));
    Accepted(group, "crls_beside_certificates", AROUND, [](Package *p) {
        Crls(nullptr)(p);
        p->crlFile = [](const Bytes &file) {
            const Bytes certificate = MakeFiles(GoodPackage()).root;
            return Octets(forge::Armour(forge::LABEL_CERTIFICATE, certificate) + Text(file));
        };
    });
    Accepted(group, "crls_beside_a_key_of_another_label", LABELS, CrlFile([](const std::string &text) {
                 return text + "-----BEGIN PUBLIC KEY-----\nAAAA\n-----END PUBLIC KEY-----\n";
             }));
    Narrow(group, {"crls_with_text_before", CRLS, "crls#armour", SIGKIT_ERR_CRL_LOAD}, AROUND,
           "Armour begins with the first octet; everything else is taken for DER.",
           CrlFile([](const std::string &text) { return "text\n" + text; }))
        .importance = "medium";
    Narrow(group, {"crls_with_a_blank_in_a_line", CRLS, "crls#armour", SIGKIT_ERR_NO_CRL}, BLANKS,
           "A block with a blank inside a line is skipped, and with it its CRL.", Crls(Inserting(" ")));
    Narrow(group, {"crls_with_a_character_of_no_digit", CRLS, "crls#armour", SIGKIT_ERR_NO_CRL}, BLANKS,
           "A character outside the alphabet counts as a digit, so the block does not decode and is skipped.",
           Crls(Inserting("*")));
    Accepted(group, "crls_with_cr", LINE_ENDS, CrlFile(Replacing("\n", "\r", true)));
}

void AddBrokenCrls(Group *group)
{
    const auto refused = [group](const char *name, const Rule &rule, uint32_t status, const Change &change) {
        Refused(group, {name, CRLS, "crls#armour", status}, rule, change);
    };
    refused("crl_of_another_label", LABELS, SIGKIT_ERR_NO_CRL, Crls(Replacing("X509 CRL", "CRL", true)));
    refused("crl_called_a_certificate", LABELS, SIGKIT_ERR_NO_CRL, Crls(Replacing("X509 CRL", "CERTIFICATE", true)));
    refused("crl_with_a_label_in_small_letters", LABELS, SIGKIT_ERR_NO_CRL,
            Crls(Replacing("X509 CRL", "x509 crl", true)));
    refused("crl_with_a_label_with_two_blanks", LABELS, SIGKIT_ERR_NO_CRL,
            Crls(Replacing("X509 CRL", "X509  CRL", true)));
    refused("crl_with_a_character_missing", PADDING, SIGKIT_ERR_NO_CRL,
            Crls([](std::string text) { return text.erase(SecondLine(text), 1); }));
    refused("crl_with_four_dashes", TEXT, SIGKIT_ERR_NO_CRL, Crls(Replacing("-----BEGIN", "----BEGIN")));
    refused("last_crl_without_its_end", TEXT, SIGKIT_ERR_CRL_LOAD,
            CrlFile([](std::string text) { return text.substr(0, text.rfind("-----END")); }));
    Narrow(group, {"crls_behind_a_null_character", CRLS, "crls#armour", SIGKIT_ERR_NO_CRL}, AROUND,
           "A text ends at a null character.", CrlFile([](std::string text) {
               const size_t end = text.find("-----BEGIN", 20);
               return text.insert(end, 1, '\0');
           }));
    Refused(group, {"crls_two_in_one_block", CRLS, "crls", SIGKIT_ERR_NO_CRL}, ONE_OBJECT, [](Package *p) {
        p->crlFile = [](const Bytes &file) { return Octets(forge::Armour(forge::LABEL_CRL, file)); };
    });
}
} // namespace

Group ArmourCases()
{
    Group group = {"armour", {}};
    for (const auto add : {AddMessages, AddBrokenMessages, AddCrls, AddBrokenCrls}) {
        add(&group);
    }
    for (Case &one : group.cases) {
        one.features = {"pem"};
    }
    return group;
}
} // namespace vectors
