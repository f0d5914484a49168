// Shared by the vids tests: a fresh temporary directory per test and a record that is
// closed and freed on scope exit.
#ifndef TESTS_VIDS_VIDS_TEST_SUPPORT_H
#define TESTS_VIDS_VIDS_TEST_SUPPORT_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "vids/vids.h"

struct TempDir {
    std::string path;
    TempDir() {
        char tmpl[] = "/tmp/vids_test_XXXXXX";
        const char* made = mkdtemp(tmpl);
        EXPECT_NE(made, nullptr);
        path = made != nullptr ? made : "/tmp";
    }
    ~TempDir() { std::filesystem::remove_all(path); }
    std::string operator/(const std::string& name) const { return path + "/" + name; }
};

struct Record {
    IMG_INF* inf = nullptr;
    Record() { EXPECT_EQ(Img_INF_alloc(&inf), 1); }
    ~Record() {
        Closevids(inf, 0);
        Img_INF_free(inf);
    }
};

inline std::string FileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline long long FileSize(const std::string& path) {
    std::error_code ec;
    const auto n = std::filesystem::file_size(path, ec);
    return ec ? -1 : static_cast<long long>(n);
}

#endif
