// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "crltool/report.h"

#include <algorithm>

#include "core/guard.h"
#include "crltool/json.h"
#include "crltool/text.h"
#include "x509/name.h"

namespace
{

constexpr size_t COLUMNS = 5;

// A line of a table; null where nothing stands.
struct Row {
    const char *cells[COLUMNS];
};

// What the cells of a CRL's line point to.
struct RowTexts {
    char thisUpdate[TIME_TEXT_SIZE];
    char nextUpdate[TIME_TEXT_SIZE];
    char revoked[NUMBER_TEXT_SIZE];
};

// The line of a decoded CRL; `info` is null when it could not be summarised.
Row RowOf(const SigkitCrlInfo *info, RowTexts *texts)
{
    if (info == nullptr) {
        return {{"(unreadable)"}};
    }
    TimeText(info->thisUpdate, texts->thisUpdate);
    TimeText(info->nextUpdate, texts->nextUpdate);
    NumberText(static_cast<uint32_t>(info->revokedCount), texts->revoked);
    return {{info->issuerName[0] == '\0' ? "(unprintable)" : info->issuerName, texts->thisUpdate, texts->nextUpdate,
             info->verified == 1 ? "yes" : "no", texts->revoked}};
}

void WriteTable(FILE *file, const Row *rows, size_t count)
{
    size_t widths[COLUMNS] = {};
    for (size_t i = 0; i < count * COLUMNS; ++i) {
        const char *const cell = rows[i / COLUMNS].cells[i % COLUMNS];
        widths[i % COLUMNS] = std::max(widths[i % COLUMNS], cell == nullptr ? 0 : PrintableSize(cell));
    }
    for (size_t i = 0; i < count; ++i) {
        size_t space = 2; // before the next cell
        for (size_t column = 0; column < COLUMNS && rows[i].cells[column] != nullptr; ++column) {
            const char *const cell = rows[i].cells[column];
            (void)fprintf(file, "%*s", static_cast<int>(space), "");
            WritePrintable(file, cell);
            space = widths[column] - PrintableSize(cell) + 2;
        }
        (void)fputc('\n', file);
    }
}

void WriteFileTable(FILE *file, const LoadedCrlFile &crlFile)
{
    Row rows[1 + SIGKIT_LIST_CAPACITY] = {{{"issuer", "thisUpdate", "nextUpdate", "verified", "revoked"}}};
    RowTexts texts[SIGKIT_LIST_CAPACITY];
    for (uint32_t i = 0; i < crlFile.decodedCrls; ++i) {
        rows[1 + i] = RowOf(crlFile.bundle->crls[i], &texts[i]);
    }
    WritePrintable(file, crlFile.path);
    (void)fputc('\n', file);
    WriteTable(file, rows, 1 + crlFile.decodedCrls);
    (void)fputc('\n', file);
}

void WriteCrlJson(JsonWriter *writer, const SigkitCrlInfo *info)
{
    if (info == nullptr) {
        JsonLiteral(writer, nullptr, "null");
        return;
    }
    RowTexts texts;
    (void)RowOf(info, &texts);
    char serial[SERIAL_TEXT_SIZE];
    SerialText(info->issuerSerial.serial, info->issuerSerial.len, serial);
    JsonOpen(writer, nullptr, '{');
    JsonString(writer, "issuer", {info->issuerName});
    JsonString(writer, "thisUpdate", {texts.thisUpdate});
    JsonString(writer, "nextUpdate", {texts.nextUpdate});
    JsonLiteral(writer, "verified", info->verified == 1 ? "true" : "false");
    JsonString(writer, "issuerSerial", {serial});
    JsonLiteral(writer, "revoked", texts.revoked);
    JsonClose(writer, '}');
}

void WriteFileJson(JsonWriter *writer, const LoadedCrlFile &crlFile)
{
    JsonOpen(writer, nullptr, '{');
    JsonString(writer, "path", {crlFile.path});
    JsonOpen(writer, "crls", '[');
    for (uint32_t i = 0; i < crlFile.decodedCrls; ++i) {
        WriteCrlJson(writer, crlFile.bundle->crls[i]);
    }
    JsonClose(writer, ']');
    JsonClose(writer, '}');
}

// The answer as one word.
const char *ResultWord(const Comparison &comparison)
{
    switch (comparison.result) {
    case SIGKIT_CRL_EQUAL:
        return "equal";
    case SIGKIT_CRL_FIRST_NEWER:
        return "first_newer";
    case SIGKIT_CRL_SECOND_NEWER:
        return "second_newer";
    default:
        return "incomparable";
    }
}

void SayStrayCert(const Output &output, const Problem &problem)
{
    const SigkitX509CertInfo &cert = problem.cert->tbsCertificate;
    InternalBlockGuard<char> name;
    uint32_t len = 0;
    const uint32_t status = SigkitConvertFromX509Name(&cert.subject, &name.held, &len);
    char serial[SERIAL_TEXT_SIZE];
    SerialText(cert.serialNumber.data, cert.serialNumber.len, serial);
    Say(output,
        {"the certificate of ", status == SIGKIT_OK ? name.held : "(unprintable)", " with the serial number ", serial,
         " in ", problem.file->path, " is not one that the root stands behind: ", SigkitStatusText(problem.detail)});
}

void SayProblem(const Output &output, const Problem &problem)
{
    constexpr char NO_SPACE[] = ", which leaves the verifier no space for a package";
    char detail[NUMBER_TEXT_SIZE];
    char most[NUMBER_TEXT_SIZE];
    NumberText(problem.detail, detail);
    switch (problem.obstacle) {
    case Obstacle::NONE:
        break;
    case Obstacle::LIBRARY:
        Say(output, {SigkitStatusText(problem.detail)});
        break;
    case Obstacle::CONFLICT:
        Say(output, {"each file is newer than the other for some issuer"});
        break;
    case Obstacle::SKIPPED_CRLS:
        Say(output, {"X509 CRL blocks of ", problem.file->path, " were skipped (", detail,
                     "): they do not decode, or there is no space for them"});
        break;
    case Obstacle::UNREADABLE_CRL:
        Say(output, {"CRL ", detail, " of ", problem.file->path, " cannot be read"});
        break;
    case Obstacle::NAMELESS_CRL:
        Say(output, {"the issuer's name of CRL ", detail, " of ", problem.file->path, " cannot be printed"});
        break;
    case Obstacle::TOO_MANY_IMAGES:
        NumberText(FILE_IMAGES_MAX, most);
        Say(output, {problem.file->path, " has more than ", most, " PEM blocks of CRLs and certificates", NO_SPACE});
        break;
    case Obstacle::TOO_MANY_CERTS:
        NumberText(FILE_CERTS_MAX, most);
        Say(output, {problem.file->path, " has ", detail, " CA certificates, more than ", most, NO_SPACE});
        break;
    case Obstacle::STRAY_CERT:
        SayStrayCert(output, problem);
        break;
    }
}

// One line that says which file is newer, or why neither is.
void SayVerdict(const Output &output, const Comparison &comparison)
{
    const char *const first = comparison.first.path;
    const char *const second = comparison.second.path;
    if (comparison.problem.obstacle != Obstacle::NONE) {
        Say(output, {first, " and ", second, " cannot be compared: "});
        SayProblem(output, comparison.problem);
        Say(output, {"."});
    } else if (comparison.result == SIGKIT_CRL_FIRST_NEWER) {
        Say(output, {first, " is newer than ", second, "."});
    } else if (comparison.result == SIGKIT_CRL_SECOND_NEWER) {
        Say(output, {second, " is newer than ", first, "."});
    } else {
        Say(output, {first, " and ", second, " are equally new."});
    }
}

void SayWarning(const Output &output, const FarAhead &warning)
{
    char thisUpdate[TIME_TEXT_SIZE];
    char due[TIME_TEXT_SIZE];
    TimeText(warning.info->thisUpdate, thisUpdate);
    TimeText(warning.due, due);
    Say(output, {"the CRL of ", warning.info->issuerName, " in ", warning.file->path, " is of ", thisUpdate,
                 ", more than a day after every other one of its file, and was due by ", due, ": is that date right?"});
}

} // namespace

int ExitStatus(const Comparison &comparison)
{
    switch (comparison.result) {
    case SIGKIT_CRL_EQUAL:
    case SIGKIT_CRL_FIRST_NEWER:
        return 0;
    case SIGKIT_CRL_SECOND_NEWER:
        return 1;
    default:
        return 2;
    }
}

void WriteTextReport(FILE *file, const Comparison &comparison)
{
    const Output output = {file, WritePrintable};
    WriteFileTable(file, comparison.first);
    WriteFileTable(file, comparison.second);
    for (const FarAhead &warning : comparison.warnings) {
        if (warning.info != nullptr) {
            (void)fputs("Warning: ", file);
            SayWarning(output, warning);
            (void)fputc('\n', file);
        }
    }
    SayVerdict(output, comparison);
    (void)fputc('\n', file);
}

void WriteJsonReport(FILE *file, const Comparison &comparison)
{
    const Output output = {file, WriteJsonCharacters};
    JsonWriter writer = {file};
    JsonOpen(&writer, nullptr, '{');
    JsonOpen(&writer, "files", '[');
    WriteFileJson(&writer, comparison.first);
    WriteFileJson(&writer, comparison.second);
    JsonClose(&writer, ']');
    JsonString(&writer, "result", {ResultWord(comparison)});
    JsonBeginString(&writer, "verdict");
    SayVerdict(output, comparison);
    JsonEndString(&writer);
    JsonOpen(&writer, "warnings", '[');
    for (const FarAhead &warning : comparison.warnings) {
        if (warning.info != nullptr) {
            JsonBeginString(&writer, nullptr);
            SayWarning(output, warning);
            JsonEndString(&writer);
        }
    }
    JsonClose(&writer, ']');
    JsonClose(&writer, '}');
}

void WriteJsonError(FILE *file, std::initializer_list<const char *> parts)
{
    JsonWriter writer = {file};
    JsonOpen(&writer, nullptr, '{');
    JsonString(&writer, "result", {"error"});
    JsonString(&writer, "verdict", parts);
    JsonClose(&writer, '}');
}
