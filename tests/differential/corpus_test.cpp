// The seeds of the fuzz targets, whole and in pieces.
#include <gtest/gtest.h>

#include "tests/differential/judge.h"
#include "tests/differential/seeds.h"
#include "tests/support/pretended_host.h"

TEST(Corpus, EveryPieceOfEveryFileIsReadAsLibcryptoReadsIt)
{
    unsigned certificates = 0;
    unsigned crls = 0;
    for (const std::string &path : CorpusFiles()) {
        for (const der::Bytes &piece : PiecesOf(ContentOfFile(path))) {
            if (piece.empty()) {
                continue;
            }
            const std::string disagreement = Disagreement(CERTIFICATE, piece) + Disagreement(CRL, piece);
            EXPECT_TRUE(disagreement.empty()) << path << ", " << disagreement;
            certificates += CERTIFICATE.library(piece).accepted ? 1U : 0U;
            crls += CRL.library(piece).accepted ? 1U : 0U;
        }
    }
    EXPECT_LT(100U, certificates) << "there is nothing to compare";
    EXPECT_LT(100U, crls) << "there is nothing to compare";
    EXPECT_EQ(0, g_pretendedHost.liveBlocks);
}
