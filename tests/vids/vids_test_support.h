// Shared by the vids tests: a fresh temporary directory per test, a record that is
// closed and freed on scope exit, sequence creation and file contents.
#ifndef TESTS_VIDS_VIDS_TEST_SUPPORT_H
#define TESTS_VIDS_VIDS_TEST_SUPPORT_H

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "vids/vids.h"

using testing::ExitedWithCode;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

// A fresh directory, removed with its contents. path stays empty when none can be made;
// SequenceTest then fails before its body runs: nothing may fall back to a shared one.
struct TempDir {
    std::string path;
    TempDir() {
        char tmpl[] = "/tmp/vids_test_XXXXXX";
        if (mkdtemp(tmpl) != nullptr) path = tmpl;
    }
    ~TempDir() {
        if (!path.empty()) std::filesystem::remove_all(path);
    }
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

// A test with its own directory, the name of a sequence in it and a record.
struct SequenceTest : testing::Test {
    TempDir dir;
    std::string seq;
    Record r;
    void SetUp() override {
        ASSERT_FALSE(dir.path.empty()) << "no temporary directory";
        seq = dir / "seq";
    }
};

// Opens name as a new sequence of w x h pixels and n frames: 4:2:0 OCTET unsigned when
// fdtype is negative, else one component of that file type, sign and byte order.
inline void Create(IMG_INF* inf, const std::string& name, int w, int h, int n, int fdtype = -1,
                   int sign = 0, int org = IMG_ORG_DEC) {
    Img_set_sizes(inf, w, h, n);
    Img_set_dsigns(inf, sign, 0, 0);
    if (fdtype < 0) {
        Img_set_smpl_matrices(inf, IMG_FMT_YC_420, 0);
    } else {
        Img_set_comp_names(inf, IMG_FMT_MONO);
        Img_set_smpl_matrices(inf, IMG_FMT_MONO, 0);
        Img_set_fdtype(inf, fdtype);
        Img_set_file_org(inf, org);
    }
    ASSERT_EQ(Openvids(name.c_str(), inf, "new", 7), 2);
}

// Writes inf's description to path without creating a data file.
inline void WriteDescription(IMG_INF* inf, const std::string& path) {
    inf->stream = fopen(path.c_str(), "w");
    ASSERT_NE(inf->stream, nullptr) << path;
    EXPECT_EQ(put_info(inf, 0), 0);
    fclose(inf->stream);
    inf->stream = nullptr;
}

// From here on no file may grow beyond bytes; a write past it fails with EFBIG (SIGXFSZ
// is ignored). For forked children only.
inline void LimitFileSize(long long bytes) {
    signal(SIGXFSZ, SIG_IGN);
    const struct rlimit lim = {static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
    setrlimit(RLIMIT_FSIZE, &lim);
}

inline std::string FileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// -1 when the file is missing.
inline long long FileSize(const std::string& path) {
    std::error_code ec;
    return static_cast<long long>(std::filesystem::file_size(path, ec));
}

#endif
