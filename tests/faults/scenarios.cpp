// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/faults/scenarios.h"

#include "sigkit/sigkit.h"
#include "tests/support/parties.h"
#include "tests/support/process.h"

namespace
{

const char CONTENT[] = "f4d1b0 firmware.bin\n";

struct Package {
    uint32_t derCrls = 2;
    bool needsEveryCrl = false;
    forge::Bytes root = AllParties().root.certificate;
    forge::Bytes crls = GoodCrls();
    forge::Bytes message = MakeMessage(MessageRequest(CONTENT));
    std::string content = CONTENT;
};

uint32_t Size(const forge::Bytes &bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

// A context that frees itself.
struct Context {
    SigkitVerifyCtx *ctx = nullptr;
    uint32_t status = SIGKIT_OK;

    Context()
    {
        SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
        status = SigkitVerifyCreateCtx(&ctx, &param);
    }
    ~Context()
    {
        if (ctx != nullptr) {
            (void)SigkitVrfCtxFree(ctx);
        }
    }
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
};

uint32_t Load(const Context &context, const Package &package)
{
    uint32_t status = context.status;
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCert(context.ctx, package.root.data(), Size(package.root));
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrl(context.ctx, package.crls.data(), Size(package.crls));
    }
    return status;
}

Outcome Stream(const Context &context, const Package &package)
{
    Outcome outcome;
    outcome.status = SigkitVerifyDetachSignatureBegin(context.ctx, package.message.data(), Size(package.message));
    const forge::Bytes content = Octets(package.content);
    const uint32_t half = Size(content) / 2;
    const uint32_t pieces[][2] = {{0, half}, {half, Size(content) - half}};
    for (const auto &piece : pieces) {
        if (outcome.status == SIGKIT_OK && piece[1] != 0) {
            outcome.status = SigkitVerifyDetachSignatureUpdate(context.ctx, content.data() + piece[0], piece[1]);
        }
    }
    if (outcome.status == SIGKIT_OK) {
        outcome.status = SigkitVerifyDetachSignatureFinal(context.ctx, &outcome.answer);
    }
    return outcome;
}

Outcome Verify(const Package &package)
{
    const Context context;
    const uint32_t status = Load(context, package);
    return status == SIGKIT_OK ? Stream(context, package) : Outcome{status, 0};
}

// The same from files.
struct Files {
    TemporaryDirectory directory;

    explicit Files(const Package &package)
    {
        Write("root", package.root);
        Write("crls", package.crls);
        Write("message", package.message);
        Write("content", Octets(package.content));
    }
    void Write(const std::string &name, const forge::Bytes &bytes) const
    {
        (void)forge::WriteFile(directory.File(name), bytes).ok;
    }
};

Outcome VerifyFiles(const Files &files, uint32_t times)
{
    const Context context;
    Outcome outcome = {context.status, 0};
    if (outcome.status == SIGKIT_OK) {
        outcome.status = SigkitVerifyAddCertFile(context.ctx, files.directory.File("root").c_str());
    }
    if (outcome.status == SIGKIT_OK) {
        outcome.status = SigkitVerifyAddCrlFile(context.ctx, files.directory.File("crls").c_str());
    }
    outcome.answer = 1;
    for (uint32_t i = 0; i < times && outcome.status == SIGKIT_OK && outcome.answer == 1; ++i) {
        outcome.status = SigkitVerifyDetachSignatureQuick(context.ctx, files.directory.File("content").c_str(),
                                                          files.directory.File("message").c_str(), &outcome.answer);
    }
    outcome.answer = outcome.status == SIGKIT_OK ? outcome.answer : 0;
    return outcome;
}

// A file's summary in a context of its own, so that what fails for one file is not noted for the other.
struct Summary {
    Context context;
    SigkitCrlBundle *bundle = nullptr;
    uint32_t status = context.status;

    explicit Summary(const forge::Bytes &file)
    {
        const forge::Bytes &root = AllParties().root.certificate;
        if (status == SIGKIT_OK) {
            status = SigkitVerifyAddCert(context.ctx, root.data(), Size(root));
        }
        if (status == SIGKIT_OK) {
            status = SigkitDecodeCrl(context.ctx, file.data(), Size(file), &bundle);
        }
    }
    ~Summary()
    {
        if (bundle != nullptr) {
            (void)SigkitCrlFree(context.ctx, bundle);
        }
    }
    Summary(const Summary &) = delete;
    Summary &operator=(const Summary &) = delete;
};

Outcome Compare(const forge::Bytes &first, const forge::Bytes &second)
{
    const Summary summaries[] = {Summary(first), Summary(second)};
    Outcome outcome = {SIGKIT_OK, SIGKIT_CRL_CONFLICT};
    for (const Summary &summary : summaries) {
        outcome.status = outcome.status == SIGKIT_OK ? summary.status : outcome.status;
    }
    if (outcome.status == SIGKIT_OK) {
        outcome.status =
            SigkitCrlCompare(summaries[0].context.ctx, summaries[0].bundle, summaries[1].bundle, &outcome.answer);
    }
    return outcome;
}

// ---- Packages that differ from the good one in one thing ---------------------------------------------------------

using Change = std::function<void(Package *)>;

Package Changed(const Change &change)
{
    Package package;
    change(&package);
    return package;
}

Change WithMessage(const std::function<void(forge::MessageRequest *)> &change)
{
    return [change](Package *package) {
        forge::MessageRequest request = MessageRequest(package->content);
        change(&request);
        package->message = MakeMessage(request);
    };
}

Change WithCrl(const Party &issuer, const std::function<void(forge::CrlRequest *)> &change)
{
    return [issuer, change](Package *package) {
        const bool isRoot = issuer.key == AllParties().root.key;
        forge::CrlRequest request = CrlRequest(issuer);
        change(&request);
        const Party &other = isRoot ? AllParties().issuingCa : AllParties().root;
        package->crls = Join({MakeCrl(request), MakeCrl(CrlRequest(other))});
    };
}

// A message by a signer whose certificate differs from the good one's.
Change WithSigner(const std::function<void(forge::CertificateRequest *)> &change)
{
    return WithMessage([change](forge::MessageRequest *message) {
        forge::CertificateRequest request = CertificateRequest("Another signer", &AllParties().issuingCa);
        request.basicConstraints = forge::BasicConstraints::NotCa;
        request.keyUsage = forge::DIGITAL_SIGNATURE;
        request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
        change(&request);
        const Party signer = Certify(request);
        message->signerCertificate = signer.certificate;
        message->signerKey = signer.key;
        message->certificates = {signer.certificate, AllParties().issuingCa.certificate};
    });
}

forge::RevokedCertificate Revoked(const Party &party, int reason)
{
    forge::RevokedCertificate revoked;
    (void)forge::GetSerialNumber(party.certificate, &revoked.serialNumber).ok;
    revoked.revocationDate = PACKAGE_TIME - PACKAGE_DAY;
    revoked.reasonCode = reason;
    return revoked;
}

Change WithRevoked(const Party &issuer, const Party &party, int reason)
{
    return WithCrl(issuer, [party, reason](forge::CrlRequest *crl) { crl->revoked = {Revoked(party, reason)}; });
}

// An older CRL that says nothing and a newer one, by this party, that revokes: a verifier that loses the newer one
// accepts.
Change WithNewerCrl(const Party &issuer, const Party &party, const std::string &label = "")
{
    return [issuer, party, label](Package *package) {
        forge::CrlRequest newer = CrlRequest(issuer);
        newer.thisUpdate += 1;
        newer.crlNumber += 1;
        newer.revoked = {Revoked(party, 1)};
        std::vector<forge::Bytes> crls = {MakeCrl(CrlRequest(AllParties().root)),
                                          MakeCrl(CrlRequest(AllParties().issuingCa)), MakeCrl(newer)};
        for (forge::Bytes &crl : crls) {
            crl = label.empty() ? crl : Pem(label, crl);
        }
        package->crls = Join(crls);
        package->needsEveryCrl = true;
    };
}

// The same after the CA rolled its key over: its new certificate comes with the CRLs.
Change WithNewerCrlOfNewKey(const Party &party)
{
    const Party newCa = Certify(CertificateRequest("CA", &AllParties().root));
    return [newCa, party](Package *package) {
        WithNewerCrl(newCa, party)(package);
        package->crls = Join({package->crls, newCa.certificate});
    };
}

struct Variant {
    const char *name;
    Outcome expected;
    Change change;
};

std::vector<Variant> AcceptedVariants()
{
    const Parties &all = AllParties();
    return {
        {"Good", {SIGKIT_OK, 1}, [](Package *) {}},
        {"GoodPem",
         {SIGKIT_OK, 1},
         [](Package *package) {
             package->derCrls = 0;
             package->root = Pem(forge::LABEL_CERTIFICATE, package->root);
             package->crls = Join({Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().root))),
                                   Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().issuingCa)))});
             package->message = Pem(forge::LABEL_CMS, package->message);
         }},
        {"GoodPkcs7Armour", {SIGKIT_OK, 1}, [](Package *p) { p->message = Pem(forge::LABEL_PKCS7, p->message); }},
        {"GoodSha384", {SIGKIT_OK, 1}, WithMessage([](auto *m) { m->digest = forge::Digest::Sha384; })},
        {"GoodSha512", {SIGKIT_OK, 1}, WithMessage([](auto *m) { m->digest = forge::Digest::Sha512; })},
        {"GoodWithoutAttributes", {SIGKIT_OK, 1}, WithMessage([](auto *m) { m->signedAttributes = false; })},
        {"GoodTokenWithoutAttributes", {SIGKIT_OK, 1}, WithMessage([](auto *m) {
             m->tokenRequest.signedAttributes = false;
         })},
        {"GoodSigningTime", {SIGKIT_OK, 1}, WithMessage([](auto *m) { m->signingTime = PACKAGE_TIME; })},
        {"GoodImprintSha512", {SIGKIT_OK, 1}, WithMessage([](auto *m) {
             m->tokenRequest.imprintDigest = forge::Digest::Sha512;
         })},
        {"GoodCaInCrlFile",
         {SIGKIT_OK, 1},
         [](Package *package) {
             forge::MessageRequest request = MessageRequest(package->content);
             request.certificates = {AllParties().signer.certificate};
             package->message = MakeMessage(request);
             package->crls = Join({AllParties().issuingCa.certificate, package->crls});
         }},
        {"GoodRevokedLater",
         {SIGKIT_OK, 1},
         WithCrl(all.issuingCa,
                 [](forge::CrlRequest *crl) {
                     crl->revoked = {Revoked(AllParties().signer, 5)};
                     crl->revoked[0].revocationDate = PACKAGE_TIME + PACKAGE_DAY;
                 })},
        {"NobodySignsNothing",
         {SIGKIT_OK, 1},
         [](Package *package) {
             forge::MessageRequest request = MessageRequest("");
             request.signerInfoCount = 0;
             request.timestamp = forge::Timestamp::None;
             package->content = "";
             package->message = MakeMessage(request);
         }},
    };
}

std::vector<Variant> RefusedVariants()
{
    const Parties &all = AllParties();
    return {
        {"Tampered", {SIGKIT_OK, 0}, [](Package *p) { p->content[3] = 'x'; }},
        {"TamperedWithoutAttributes",
         {SIGKIT_OK, 0},
         [](Package *package) {
             WithMessage([](auto *m) { m->signedAttributes = false; })(package);
             package->content[3] = 'x';
         }},
        {"NobodySignsContent", {SIGKIT_ERR_NOT_BEGUN, 0}, WithMessage([](auto *m) {
             m->signerInfoCount = 0;
             m->timestamp = forge::Timestamp::None;
         })},
        {"NoTimestamp", {SIGKIT_ERR_PARAM, 0}, WithMessage([](auto *m) { m->timestamp = forge::Timestamp::None; })},
        {"TokenOverAnother", {SIGKIT_ERR_TIMESTAMP_IMPRINT, 0}, WithMessage([](auto *m) {
             m->tokenRequest.imprintOver = Octets("another");
         })},
        {"TokenByCodeSigner", {SIGKIT_ERR_CERT_USAGE, 0}, WithMessage([](auto *m) {
             m->tokenRequest.tsaCertificate = AllParties().signer.certificate;
             m->tokenRequest.tsaKey = AllParties().signer.key;
         })},
        {"TokenByAnotherKey", {SIGKIT_ERR_SIGNATURE, 0}, WithMessage([](auto *m) {
             m->tokenRequest.tsaKey = AllParties().signer.key;
         })},
        {"TokenSignerUnknown", {SIGKIT_ERR_TIMESTAMP_SIGNER, 0}, WithMessage([](auto *m) {
             m->tokenRequest.certificates = {};
         })},
        {"SignedByAnotherKey", {SIGKIT_ERR_SIGNATURE, 0}, WithMessage([](auto *m) {
             m->signerKey = AllParties().timestamp.key;
         })},
        {"SignerUnknown", {SIGKIT_ERR_SIGNER_NOT_FOUND, 0}, WithMessage([](auto *m) {
             m->certificates = {AllParties().issuingCa.certificate};
         })},
        {"RevokedSigner", {SIGKIT_ERR_CERT_REVOKED, 0}, WithRevoked(all.issuingCa, all.signer, 1)},
        {"RevokedTimestamp", {SIGKIT_ERR_CERT_REVOKED, 0}, WithRevoked(all.issuingCa, all.timestamp, -1)},
        {"RevokedByNewerCrl", {SIGKIT_ERR_CERT_REVOKED, 0}, WithNewerCrl(all.issuingCa, all.signer)},
        {"RevokedByNewerPemCrl",
         {SIGKIT_ERR_CERT_REVOKED, 0},
         WithNewerCrl(all.issuingCa, all.signer, forge::LABEL_CRL)},
        {"RevokedByNewKey", {SIGKIT_ERR_CERT_REVOKED, 0}, WithNewerCrlOfNewKey(all.signer)},
        {"TimestampRevokedByNewerCrl", {SIGKIT_ERR_CERT_REVOKED, 0}, WithNewerCrl(all.issuingCa, all.timestamp)},
        {"RevokedCa", {SIGKIT_ERR_CERT_REVOKED, 0}, WithRevoked(all.root, all.issuingCa, 0)},
        {"ExpiredSigner", {SIGKIT_ERR_CERT_EXPIRED, 0}, WithSigner([](auto *r) { r->notAfter = PACKAGE_TIME - 1; })},
        {"SignerNotYetValid", {SIGKIT_ERR_CERT_NOT_YET_VALID, 0}, WithSigner([](auto *r) {
             r->notBefore = PACKAGE_TIME + 1;
         })},
        {"SignerMayNotSignCode", {SIGKIT_ERR_CERT_USAGE, 0}, WithSigner([](auto *r) {
             r->extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING};
         })},
        {"ExpiredCrl",
         {SIGKIT_ERR_NO_CRL, 0},
         WithCrl(all.issuingCa, [](forge::CrlRequest *crl) { crl->nextUpdate = PACKAGE_TIME - 1; })},
        {"NoCrlOfTheRoot",
         {SIGKIT_ERR_NO_CRL, 0},
         [](Package *p) { p->crls = MakeCrl(CrlRequest(AllParties().issuingCa)); }},
        {"OtherRoot", {SIGKIT_ERR_NO_ROOT, 0}, [](Package *p) { p->root = AllParties().otherRoot.certificate; }},
        {"CrlsAreGarbage", {SIGKIT_ERR_CRL_LOAD, 0}, [](Package *p) { p->crls = forge::Bytes(100, 0x30); }},
        {"MessageIsGarbage", {SIGKIT_ERR_CMS_DECODE, 0}, [](Package *p) { p->message = forge::Bytes(100, 0x30); }},
        {"MessageTooShort", {SIGKIT_ERR_ARMOUR, 0}, [](Package *p) { p->message.resize(37); }},
    };
}

void AddVerifications(std::vector<Scenario> *scenarios)
{
    for (const auto &variants : {AcceptedVariants(), RefusedVariants()}) {
        for (const Variant &variant : variants) {
            const Package package = Changed(variant.change);
            scenarios->push_back({variant.name, Kind::VERIFICATION, variant.expected,
                                  [package] { return Verify(package); }, package.derCrls, 0, package.needsEveryCrl});
        }
    }
    for (const uint32_t times : {1U, 2U}) {
        const auto files = std::make_shared<Files>(Package());
        scenarios->push_back({times == 1 ? "GoodFiles" : "GoodFilesTwice",
                              Kind::VERIFICATION,
                              {SIGKIT_OK, 1},
                              [files, times] { return VerifyFiles(*files, times); },
                              2,
                              times});
    }
    const auto tampered = std::make_shared<Files>(Changed([](Package *p) { p->content += "x"; }));
    scenarios->push_back(
        {"TamperedFiles", Kind::VERIFICATION, {SIGKIT_OK, 0}, [tampered] { return VerifyFiles(*tampered, 1); }, 2, 1});
}

// What loading alone comes to, where the operation gets `data` on a fresh context.
using Load1 = uint32_t (*)(SigkitVerifyCtx *, const uint8_t *, uint32_t);

void AddLoadings(std::vector<Scenario> *scenarios)
{
    const forge::Bytes root = AllParties().root.certificate;
    const forge::Bytes crl = MakeCrl(CrlRequest(AllParties().root));
    std::vector<forge::Bytes> crls;
    for (int64_t i = 0; i < 17; ++i) {
        forge::CrlRequest request = CrlRequest(AllParties().root);
        request.crlNumber = i;
        crls.push_back(MakeCrl(request));
    }
    const std::vector<forge::Bytes> sixteen(crls.begin(), crls.end() - 1);
    const struct {
        const char *name;
        Load1 load;
        forge::Bytes data;
        uint32_t status;
    } rows[] = {
        {"LoadCert", SigkitVerifyAddCert, root, SIGKIT_OK},
        {"LoadCertPem", SigkitVerifyAddCert, Pem(forge::LABEL_CERTIFICATE, root), SIGKIT_OK},
        {"LoadCertAmongCrls", SigkitVerifyAddCert, Join({crl, root}), SIGKIT_OK},
        {"LoadNoCert", SigkitVerifyAddCert, crl, SIGKIT_ERR_UNKNOWN},
        {"LoadCrls", SigkitVerifyAddCrl, Join(sixteen), SIGKIT_OK},
        {"LoadTooManyCrls", SigkitVerifyAddCrl, Join(crls), SIGKIT_ERR_CRL_LOAD},
        {"LoadCrlWithRoot", SigkitVerifyAddCrl, Join({root, crl}), SIGKIT_OK},
    };
    for (const auto &row : rows) {
        scenarios->push_back({row.name,
                              Kind::LOADING,
                              {row.status, 0},
                              [row] {
                                  const Context context;
                                  return context.status != SIGKIT_OK
                                             ? Outcome{context.status, 0}
                                             : Outcome{row.load(context.ctx, row.data.data(), Size(row.data)), 0};
                              },
                              0});
    }
}

void AddComparisons(std::vector<Scenario> *scenarios)
{
    const Parties &all = AllParties();
    const forge::Bytes ca = all.issuingCa.certificate;
    forge::CrlRequest later = CrlRequest(all.root);
    later.thisUpdate += PACKAGE_DAY;
    forge::CrlRequest revoking = later;
    revoking.revoked = {Revoked(all.issuingCa, 1)};
    forge::CrlRequest caLater = CrlRequest(all.issuingCa);
    caLater.thisUpdate += PACKAGE_DAY;
    const forge::Bytes both = Join({ca, GoodCrls()});
    const forge::Bytes rootLater = Join({ca, MakeCrl(later), MakeCrl(CrlRequest(all.issuingCa))});
    const forge::Bytes caOnlyLater = Join({ca, MakeCrl(CrlRequest(all.root)), MakeCrl(caLater)});
    const forge::Bytes bothPem =
        Join({Pem(forge::LABEL_CERTIFICATE, ca), Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(all.root))),
              Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(all.issuingCa)))});
    const forge::Bytes twicePem = Join({bothPem, Pem(forge::LABEL_CRL, MakeCrl(later))});
    const forge::Bytes dropped = Join({ca, MakeCrl(later)});
    const forge::Bytes droppedAndRevoked = Join({ca, MakeCrl(revoking)});
    forge::CertificateRequest longSerial = CertificateRequest("CA of a long number", &all.root);
    longSerial.serialNumber = forge::Bytes(33, 0x11); // longer than a summary takes
    const Party other = Certify(longSerial);
    const forge::Bytes withOther = Join({other.certificate, MakeCrl(CrlRequest(all.root)), MakeCrl(CrlRequest(other))});
    const struct {
        const char *name;
        forge::Bytes first;
        forge::Bytes second;
        Outcome expected;
    } rows[] = {
        {"CompareEqual", both, both, {SIGKIT_OK, SIGKIT_CRL_EQUAL}},
        {"CompareSecondNewer", both, rootLater, {SIGKIT_OK, SIGKIT_CRL_SECOND_NEWER}},
        {"CompareFirstNewer", rootLater, both, {SIGKIT_OK, SIGKIT_CRL_FIRST_NEWER}},
        {"CompareConflict", rootLater, caOnlyLater, {SIGKIT_OK, SIGKIT_CRL_CONFLICT}},
        {"CompareDropped", both, dropped, {SIGKIT_ERR_CRL_COVERAGE, SIGKIT_CRL_CONFLICT}},
        {"CompareDroppedAndRevoked", both, droppedAndRevoked, {SIGKIT_OK, SIGKIT_CRL_SECOND_NEWER}},
        {"CompareDroppedLongSerial", withOther, droppedAndRevoked, {SIGKIT_ERR_CRL_COVERAGE, SIGKIT_CRL_CONFLICT}},
        {"CompareTwice", both, Join({both, MakeCrl(later)}), {SIGKIT_ERR_CRL_ISSUER_TWICE, SIGKIT_CRL_CONFLICT}},
        {"CompareTwicePem", bothPem, twicePem, {SIGKIT_ERR_CRL_ISSUER_TWICE, SIGKIT_CRL_CONFLICT}},
        {"CompareWithoutCerts", both, GoodCrls(), {SIGKIT_ERR_CRL_LOAD, SIGKIT_CRL_CONFLICT}},
    };
    for (const auto &row : rows) {
        scenarios->push_back(
            {row.name, Kind::COMPARISON, row.expected, [row] { return Compare(row.first, row.second); }, 0});
    }
}

std::vector<Scenario> MakeScenarios()
{
    std::vector<Scenario> scenarios;
    AddVerifications(&scenarios);
    AddLoadings(&scenarios);
    AddComparisons(&scenarios);
    return scenarios;
}

} // namespace

const std::vector<Scenario> &Scenarios()
{
    static const std::vector<Scenario> scenarios = MakeScenarios();
    return scenarios;
}

bool IsAcceptance(const Scenario &scenario, const Outcome &outcome)
{
    switch (scenario.kind) {
    case Kind::VERIFICATION:
        return outcome.status == SIGKIT_OK && outcome.answer == 1;
    case Kind::COMPARISON:
        return outcome.status == SIGKIT_OK && outcome.answer != SIGKIT_CRL_CONFLICT && outcome != scenario.expected;
    default:
        return false;
    }
}
