/* Sequence names: extension removal, expansion of "~", "~user", "$NAME" and "%NAME",
 * and backups of files about to be overwritten. */
#include <pwd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vids/vids.h"

namespace {

const int kExpLen = 1024;   /* the expansion buffer */
/* A value is searched again for references; this bounds self-referring values. */
const int kMaxExpansions = 64;
const int kPwBufLen = 4096;   /* room for one password-database entry */

/* One of each per thread: two threads may expand names at once. */
thread_local char exp_buf[kExpLen];
thread_local char home_buf[kPwBufLen];

bool StartsRef(char ch) { return ch == '%' || ch == '$' || ch == '~'; }
bool EndsRef(char ch) { return ch == '%' || ch == '$' || ch == '/' || ch == '~' || ch == '\0'; }

}  // namespace

char* strpext(char* path) {
    char* dot = strrchr(path, '.');
    if (dot == nullptr) return path;
    const char* slash = strrchr(path, '/');
    if (slash != nullptr ? dot > slash : dot != path) *dot = '\0';
    return path;
}

int fndenv(const char* text, int from, int* len) {
    for (int at = from; text[at] != '\0'; ++at) {
        if (!StartsRef(text[at])) continue;
        int end = at + 1;
        while (!EndsRef(text[end])) ++end;
        *len = end - at;
        return at;
    }
    return -1;
}

const char* mygetenv(const char* ref) {
    if (ref[0] == '~') {
        if (ref[1] == '\0') return getenv("HOME");
        struct passwd entry;
        struct passwd* pw = nullptr;
        /* The reentrant lookup keeps the entry's strings in this thread's buffer. */
        if (getpwnam_r(ref + 1, &entry, home_buf, sizeof home_buf, &pw) != 0 || pw == nullptr)
            return nullptr;
        return pw->pw_dir;
    }
    if ((ref[0] == '$' || ref[0] == '%') && ref[1] != '\0') return getenv(ref + 1);
    return nullptr;
}

int strrpl(char* buf, int cap, int at, int len, const char* value) {
    const size_t old_len = strlen(buf);
    const size_t value_len = strlen(value);
    if (old_len - len + value_len >= static_cast<size_t>(cap)) return 1;
    memmove(buf + at + value_len, buf + at + len, old_len - at - len + 1);
    memcpy(buf + at, value, value_len);
    return 0;
}

char* expenv(const char* path) {
    strncpy(exp_buf, path != nullptr ? path : "", kExpLen - 1);
    exp_buf[kExpLen - 1] = '\0';
    int pos = 0, len = 0, expansions = 0, at;
    while ((at = fndenv(exp_buf, pos, &len)) >= 0) {
        char ref[kExpLen];
        memcpy(ref, exp_buf + at, len);
        ref[len] = '\0';
        const char* value = expansions < kMaxExpansions ? mygetenv(ref) : nullptr;
        if (value == nullptr || strrpl(exp_buf, kExpLen, at, len, value) != 0) {
            pos = at + len;   /* no value, or no room: leave it as written */
            continue;
        }
        ++expansions;
        pos = at;   /* the value itself may hold references */
    }
    return exp_buf;
}

int fbakup(const char* path) {
    const size_t len = strlen(path);
    char* backup = static_cast<char*>(malloc(len + 2));
    if (backup == nullptr) {
        perror("fbakup");
        return 1;
    }
    memcpy(backup, path, len);
    backup[len] = '~';
    backup[len + 1] = '\0';
    const int failed = rename(path, backup) != 0;
    if (failed) {
        perror("fbakup");
    } else {
        /* The line shows the extension, not the new full name. */
        const char* ext = strrchr(path, '.');
        fprintf(stderr, "Backup: Rename %s -> %s~\n", path, ext != nullptr ? ext : path);
    }
    free(backup);
    return failed;
}
