// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Stands in for the fuzzer in a program that runs committed inputs again and makes no new ones. Usage: PROGRAM
// DIRECTORY
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace
{

using Paths = std::vector<std::filesystem::path>;

Paths InputsIn(const char *directory)
{
    std::error_code failure;
    const std::filesystem::directory_iterator entries(directory, failure);
    Paths inputs;
    for (const std::filesystem::directory_entry &entry : entries) {
        inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

bool Replay(const std::filesystem::path &path)
{
    std::fprintf(stderr, "%s\n", path.c_str()); // the last one is the one that failed
    std::ifstream file(path, std::ios::binary);
    std::vector<uint8_t> input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    input.shrink_to_fit(); // so that AddressSanitizer sees the first octet that is read behind it
    return file.good() && LLVMFuzzerTestOneInput(input.data(), input.size()) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (LLVMFuzzerInitialize != nullptr) {
        (void)LLVMFuzzerInitialize(&argc, &argv);
    }
    const Paths inputs = argc == 2 ? InputsIn(argv[1]) : Paths();
    std::fprintf(stderr, "%zu inputs\n", inputs.size());
    return !inputs.empty() && std::all_of(inputs.begin(), inputs.end(), Replay) ? 0 : 1;
}
