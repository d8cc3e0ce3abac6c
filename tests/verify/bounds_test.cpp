// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a verification takes at most: stack, heap and space for its log that a device must have.
#include <pthread.h>
#include <string.h>
#include <sys/mman.h>

#include <functional>

#include "tests/support/process.h"
#include "tests/verify/verify_fixture.h"

namespace
{

constexpr size_t STACK_MAX = 64 * 1024;
constexpr size_t HEAP_MAX = 10 * 1024 * 1024;
constexpr size_t FILE_MAX = 2000000; // octets of a CRL file and of a signature file
constexpr size_t LOG_MAX = 8000000;  // octets on standard output

const char CONTENT[] = "f4d1b0 firmware.bin\n";

struct Bounds : VerifyTest {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, const forge::Bytes &bytes)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File(name), bytes).ok);
        return directory.File(name);
    }
};

// An extension of so many octets that nobody knows.
forge::Extension Padding(size_t size)
{
    forge::Extension extension;
    extension.identifier = "1.3.6.1.4.1.99999.2";
    extension.value = forge::Bytes(size, 0x05);
    return extension;
}

// Octets of the lines so far, as the tool prints them.
size_t PrintedOctets()
{
    size_t octets = 0;
    for (const LogLine &line : Lines()) {
        const std::string place = "sigkit_log.log(" + std::to_string(line.line) + "):(" + line.function + "):";
        octets += (line.level == 0 ? strlen("[ERROR]") : strlen("[WARNING]")) + place.size() +
                  line.message.value_or("(null)").size() + (line.errorCode == 0 ? 0 : strlen("(err:88000001)")) + 2;
    }
    return octets;
}

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) // other builds keep more on the stack

constexpr size_t AREA = 1024 * 1024;
constexpr uint8_t PAINT = 0xC7;

void *Call(void *work)
{
    (*static_cast<const std::function<void()> *>(work))();
    return nullptr;
}

// Octets of a fresh stack that were written while `work` ran.
size_t StackTouched(const std::function<void()> &work)
{
    void *const area = mmap(nullptr, AREA, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(MAP_FAILED, area);
    memset(area, PAINT, AREA);
    pthread_attr_t attributes;
    pthread_t thread;
    EXPECT_EQ(0, pthread_attr_init(&attributes));
    EXPECT_EQ(0, pthread_attr_setstack(&attributes, area, AREA));
    EXPECT_EQ(0, pthread_create(&thread, &attributes, Call, const_cast<std::function<void()> *>(&work)));
    EXPECT_EQ(0, pthread_join(thread, nullptr));
    (void)pthread_attr_destroy(&attributes);
    const uint8_t *const bytes = static_cast<const uint8_t *>(area);
    size_t untouched = 0;
    while (untouched < AREA && bytes[untouched] == PAINT) {
        ++untouched;
    }
    (void)munmap(area, AREA);
    return AREA - untouched;
}

// A CA whose new certificate is covered by its own CRLs alone, so that validation nests as deep as it may.
struct RolledOverCa {
    Party oldCa;
    Party newCa;
    forge::Bytes crls;

    RolledOverCa()
    {
        oldCa = Certify(CertificateRequest("Rolled Over CA", &AllParties().root));
        newCa = Certify(CertificateRequest("Rolled Over CA", &oldCa));
        const forge::Bytes crl = MakeCrl(CrlRequest(newCa));
        crls = Join({oldCa.certificate, newCa.certificate, MakeCrl(CrlRequest(AllParties().root)), crl});
    }
};

forge::MessageRequest MessageBelow(const Party &ca)
{
    forge::CertificateRequest request = CertificateRequest("Deep Timestamps", &ca);
    request.basicConstraints = forge::BasicConstraints::NotCa;
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING};
    return MessageTimestampedBy(CONTENT, Certify(request));
}

#endif

} // namespace

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__)

TEST_F(Bounds, TheDeepestValidationFitsSixtyFourKilobytesOfStack)
{
    const RolledOverCa ca;
    LoadTrust(ca.crls);
    const forge::Bytes message = MakeMessage(MessageBelow(ca.newCa));
    uint32_t status = 0;
    const size_t bare = StackTouched([] {});
    const size_t touched = StackTouched([&] { status = Begin(message); });
    EXPECT_STATUS(SIGKIT_ERR_PATH_TOO_DEEP, status);
    EXPECT_LT(bare, touched);
    EXPECT_GT(STACK_MAX, touched - bare);
    printf("%zu octets of stack\n", touched - bare);
}

#endif

TEST_F(Bounds, TheLargestFilesFitTenMegabytesOfHeap)
{
    std::vector<forge::Bytes> parts;
    for (const Party *const issuer : {&AllParties().root, &AllParties().issuingCa}) {
        for (int64_t number = 0; number < 8; ++number) {
            forge::CrlRequest request = CrlRequest(*issuer);
            request.crlNumber = number;
            request.thisUpdate += number;
            request.extensions.push_back(Padding(124000));
            parts.push_back(MakeCrl(request));
        }
    }
    forge::CertificateRequest signer = CertificateRequest("Large Signer", &AllParties().issuingCa);
    signer.basicConstraints = forge::BasicConstraints::NotCa;
    signer.keyUsage = forge::DIGITAL_SIGNATURE;
    signer.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    signer.extensions.push_back(Padding(FILE_MAX - 8000));
    const Party large = Certify(signer);
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.signerCertificate = large.certificate;
    request.signerKey = large.key;
    request.certificates = {large.certificate, AllParties().issuingCa.certificate};
    const forge::Bytes crls = Join(parts);
    const forge::Bytes message = MakeMessage(request);
    for (const forge::Bytes *const file : {&crls, &message}) {
        ASSERT_GE(FILE_MAX, file->size());
        ASSERT_LE(FILE_MAX - FILE_MAX / 100, file->size());
    }

    ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    g_recordingPlatform.peakOctets = g_recordingPlatform.liveOctets;
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyAddCrlFile(ctx, Write("crls", crls).c_str()));
    ASSERT_STATUS(SIGKIT_OK, SigkitVerifyDetachSignatureQuick(ctx, Write("content", Octets(CONTENT)).c_str(),
                                                              Write("signature", message).c_str(), &verdict));
    EXPECT_EQ(1u, verdict);
    EXPECT_EQ(16u, StoredCrls());
    EXPECT_LT(2 * FILE_MAX, g_recordingPlatform.peakOctets) << "the heap was not watched";
    EXPECT_GT(HEAP_MAX, g_recordingPlatform.peakOctets);
    printf("%zu octets of heap\n", g_recordingPlatform.peakOctets);
}

// The sanitizer reads a text to its end at each search in it, so there the file is a part of the largest.
#ifdef __SANITIZE_ADDRESS__
constexpr size_t PARTS = 40;
#else
constexpr size_t PARTS = 1;
#endif

TEST_F(Bounds, TheLogOfTheLargestFileOfBrokenBlocksFitsEightMegabytes)
{
    const std::string begin = "-----BEGIN X509 CRL-----";
    const std::string end = "-----END X509 CRL-----";
    // The shortest blocks of each way to fail. An END may begin with the dashes of the marker before it; and one end
    // marker ends two bodies, that of the block before it and the empty one of the block that it closes.
    const struct {
        const char *name;
        std::string blocks;
        const char *line;
    } rows[] = {
        {"no end of its own", begin + "END-----", "E InternalPemDecodeCrl 88200305 -"},
        {"two bodies that are not Base64", begin + "END-----" + begin + end, "E InternalBase64Decode 88000302 -"},
        {"a length that is too long", begin + "MH8=" + end, "E InternalDecLen 88300101 overflow length."},
        {"no length", begin + "MIA=" + end, "W InternalDecLen 88300101 indefinit length not supported."},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        ResetRecordingHost();
        const size_t times = FILE_MAX / PARTS / row.blocks.size();
        std::string text;
        for (size_t i = 0; i < times; ++i) {
            text += row.blocks;
        }
        EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, SigkitVerifyAddCrlFile(ctx, Write("crls", Octets(text)).c_str()));
        EXPECT_EQ(times, CountLine(row.line)) << "the line that was meant";
        EXPECT_GT(LOG_MAX, PARTS * PrintedOctets());
        printf("%s: %zu octets of log\n", row.name, PrintedOctets());
    }
}
