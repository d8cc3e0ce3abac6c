// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using Version = LibraryTest;

TEST_F(Version, IsOneStaticText)
{
    EXPECT_STREQ("V2.0.0.650", SigkitGetVersion());
    EXPECT_EQ(SigkitGetVersion(), SigkitGetVersion());
    EXPECT_EQ(0u, AllocationCalls());
}

} // namespace
