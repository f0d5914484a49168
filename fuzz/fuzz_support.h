// Shared by the fuzz targets: a private directory for the files an input becomes, made
// once per process and removed at exit. A target writes only inside it.
#ifndef FUZZ_FUZZ_SUPPORT_H
#define FUZZ_FUZZ_SUPPORT_H

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace fuzz {

// Where the private directory is made: TMPDIR when set, else memory (/dev/shm) when the
// machine has it, else /tmp. Memory keeps an input's files off the disk, which would
// otherwise take most of each run's time.
inline std::string TempRoot() {
    const char* tmp = std::getenv("TMPDIR");
    if (tmp != nullptr && *tmp != '\0') return tmp;
    if (access("/dev/shm", W_OK | X_OK) == 0) return "/dev/shm";
    return "/tmp";
}

// The directory, "<TempRoot()>/gme_fuzz_XXXXXX"; the process ends when it cannot be made
// (never a shared fallback).
inline const std::string& PrivateDir() {
    // Never destroyed, so that the clean-up at exit can still name it.
    static const std::string* dir = [] {
        std::string tmpl = TempRoot() + "/gme_fuzz_XXXXXX";
        if (mkdtemp(&tmpl[0]) == nullptr) {
            std::perror("fuzz: mkdtemp");
            std::abort();
        }
        return new std::string(tmpl);
    }();
    static const bool cleanup = std::atexit([] { std::filesystem::remove_all(*dir); }) == 0;
    (void)cleanup;
    return *dir;
}

// PrivateDir()/name.
inline std::string PathOf(const std::string& name) { return PrivateDir() + "/" + name; }

// Replaces the file's contents by n bytes of data.
inline void WriteFile(const std::string& path, const uint8_t* data, size_t n) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        std::perror(path.c_str());
        std::abort();
    }
    if (n > 0 && std::fwrite(data, 1, n, f) != n) std::abort();
    std::fclose(f);
}

}  // namespace fuzz

#endif
