// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A program that is there for its precompiled headers.
int main()
{
    return 0;
}
