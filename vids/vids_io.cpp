/* Reading and writing time samples: checks, data-file growth, direct transfer or
 * chunked conversion through io_buf, whole frames and windows.
 *
 * Record t of the data file starts at t * R (64-bit); it holds the blocks of components
 * 0, 1, 2, each padded to whole 512-byte units (cal_physize), R being their sum.
 * Every failed seek, read, write or flush fails the transfer: a caller that gets 0 has
 * all its samples, on disk or in memory. */
#include <climits>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "vids/vids.h"
#include "vids/vids_private.h"

namespace {

struct Window {
    const int* width;
    const int* height;
    const int* hstart;
    const int* vstart;
};

struct Transfer {
    const char* who;
    bool write;
    int t;
    const int* use;
    int data_type;
    unsigned char* buf[3];
    IMG_INF* inf;
    const Window* win;   /* null for whole frames */
    int flags;
    /* Layout, from cal_physize. */
    int64_t blk[3], smpl[3];
    int item, bits, per_byte;
    double under, over;
    int new_size;   /* temporal size to record once written (0x1000), else 0 */
};

bool Asked(const Transfer& x, int c) { return x.use != nullptr && x.use[c] != 0; }

/* Ends the file where `stream`'s position is, if it went on; 0 on success. */
int CutAtEnd(FILE* stream) {
    if (fflush(stream) != 0)
        return 1;
    const long end = ftell(stream);
    struct stat st;
    if (end < 0 || fstat(fileno(stream), &st) != 0)
        return 1;
    return st.st_size > end && ftruncate(fileno(stream), end) != 0 ? 1 : 0;
}

/* Growing past the last record with 0x1000: the record takes the new temporal size and
 * the description is rewritten at once. Called once the samples are on disk, so that a
 * failed write leaves a description of what the file holds. The text is written over the
 * old one, which is cut only where it was longer: emptying the file first would make
 * some file systems (ext4) write it out to the disk at every close, frame after frame. */
int RecordTemporalSize(Transfer& x) {
    IMG_INF* inf = x.inf;
    const int old_size = inf->size[2];
    inf->size[2] = x.new_size;
    FILE* des = fopen(inf->des_path, "r+");
    if (des == nullptr)
        des = fopen(inf->des_path, "w");
    if (des == nullptr) {
        perror(x.who);
        fprintf(stderr, "%s: fatal error; can't open des file\n", x.who);
        inf->size[2] = old_size;
        return 1;
    }
    FILE* data = inf->stream;
    inf->stream = des;
    int rc = put_info(inf, x.flags);
    inf->stream = data;
    if (rc == 0)
        rc = CutAtEnd(des);
    if (fclose(des) != 0 || rc != 0) {
        perror(x.who);
        fprintf(stderr, "%s: fatal error; put_info \n", x.who);
        inf->size[2] = old_size;
        return 1;
    }
    return 0;
}

/* Steps shared by every transfer up to the layout; 0 when the transfer may go on. */
int Check(Transfer& x) {
    IMG_INF* inf = x.inf;
    const char* name = inf != nullptr ? inf->fname : "";
    for (int c = 0; c < 3; ++c) {
        if (!Asked(x, c) || x.buf[c] != nullptr) continue;
        fprintf(stderr, "%s: Component %ld processed but NULL data%ld pointer passed (file %s)\n",
                x.who, static_cast<long>(c), static_cast<long>(c), name);
        return 1;
    }
    if (x.data_type < IMG_BYTE || x.data_type > IMG_UINT_2) {
        fprintf(stderr, "%s: Requested data_type invalid\n", x.who);
        return 1;
    }
    if (inf == nullptr || inf->stream == nullptr || inf->io_buf == nullptr) {
        fprintf(stderr, "Openvids must be called before %s for file : %s\n", x.who, name);
        return 1;
    }
    if (!(inf->access_flags & (x.write ? 4 : 8))) {
        fprintf(stderr,
                x.write ? "%s: File %s is not writeable\n" : "%s: File %s is not readable\n",
                x.who, name);
        return 1;
    }
    if (!Img_check_sampling(inf)) {
        fprintf(stderr, "%s: Bad sampling lattices for file %s\n", x.who, name);
        return 1;
    }
    const int nb_t = Img_get_nb_t(inf, 0);
    if (!x.write && (x.t < 0 || x.t >= nb_t)) {
        fprintf(stderr, "%s: Requested field out of range for file %s\n", x.who, name);
        return 1;
    }
    if (x.write && (x.t < 0 || (!(x.flags & 0x2000) && x.t >= nb_t))) {
        /* The temporal size must stay an int. */
        const int64_t new_size = (static_cast<int64_t>(x.t) + 1) * inf->smpl_mtrx[0][5];
        if (x.t < 0 || !(x.flags & 0x1000) || new_size > INT_MAX) {
            fprintf(stderr, "%s: Requested field out of range (%d > %d) for file %s\n", x.who, x.t,
                    nb_t - 1, name);
            return 1;
        }
        x.new_size = static_cast<int>(new_size);
        if (x.flags & 0x108)
            fprintf(stderr, "Updating %s to new temporal size %d\n", inf->des_path, x.new_size);
    }
    cal_physize(inf, x.blk, x.smpl, &x.item, &x.bits);
    x.per_byte = x.bits < 8 ? 8 / x.bits : 1;
    for (int c = 0; c < 3 && x.per_byte > 1; ++c) {
        if (!Img_check_comp_exists(inf, c) || Img_get_nb_h(inf, c) % x.per_byte == 0) continue;
        fprintf(stderr,
                "%s: Nb pels horizontally for component %ld must be a multiple of %d\n"
                " for that BIT file data type\n",
                x.who, static_cast<long>(c), x.per_byte);
        return 1;
    }
    if (inf->buf_size < x.item) {
        fprintf(stderr, "%s: Internal bug file %s, bad fopsize", x.who, name);
        Img_fatal(" : ask responsible\n");
    }
    return 0;
}

/* The window of every asked, existing component must lie inside its plane. */
int CheckWindows(const Transfer& x) {
    for (int c = 0; c < 3 && x.win != nullptr; ++c) {
        if (!Asked(x, c) || !Img_check_comp_exists(x.inf, c)) continue;
        const Window& w = *x.win;
        const bool given = w.width != nullptr && w.height != nullptr && w.hstart != nullptr &&
                           w.vstart != nullptr;
        if (!given || w.width[c] < 1 || w.height[c] < 1 || w.hstart[c] < 0 || w.vstart[c] < 0 ||
            w.hstart[c] > Img_get_nb_h(x.inf, c) - w.width[c] ||
            w.vstart[c] > Img_get_nb_v(x.inf, c) - w.height[c]) {
            fprintf(stderr, "%s: Window of component %ld outside the plane of file %s\n", x.who,
                    static_cast<long>(c), x.inf->fname);
            return 1;
        }
        if (w.hstart[c] % x.per_byte != 0 || w.width[c] % x.per_byte != 0) {
            fprintf(stderr,
                    "%s: Window of component %ld must start and end on a multiple of %d pels\n"
                    " for that BIT file data type\n",
                    x.who, static_cast<long>(c), x.per_byte);
            return 1;
        }
    }
    return 0;
}

bool Seek(const Transfer& x, int64_t pos) {
    if (fseeko(x.inf->stream, pos, SEEK_SET) == 0) return true;
    perror(x.write ? "mywrvids" : "myrdvids");
    return false;
}

bool WriteBytes(const Transfer& x, const unsigned char* p, int64_t n) {
    if (fwrite(p, 1, static_cast<size_t>(n), x.inf->stream) == static_cast<size_t>(n)) return true;
    perror("mywrvids");
    return false;
}

/* A data file shorter than its description fails the read (the open only warns about
 * it); the bytes it lacks are zeroed. */
bool ReadBytes(const Transfer& x, int c, unsigned char* p, int64_t n) {
    FILE* f = x.inf->stream;
    const size_t got = fread(p, 1, static_cast<size_t>(n), f);
    if (got == static_cast<size_t>(n)) return true;
    if (ferror(f))
        perror("myrdvids");
    else
        fprintf(stderr, "%s: File %s too short: field %d, component %ld incomplete\n", x.who,
                x.inf->fname, x.t, static_cast<long>(c));
    memset(p + got, 0, static_cast<size_t>(n) - got);
    return false;
}

bool Flush(const Transfer& x) {
    if (fflush(x.inf->stream) == 0) return true;
    perror("mywrvids");
    return false;
}

/* Whether the transfer writes every byte of the time sample at record itself: every
 * component's whole block, no window. */
bool WritesWholeRecord(const Transfer& x) {
    if (!x.write || x.win != nullptr) return false;
    for (int c = 0; c < 3; ++c)
        if (x.blk[c] != 0 && !Asked(x, c)) return false;
    return true;
}

/* Appends io_buf's contents from the old end of the data file up to end. A time sample
 * appended right at the end by a transfer that writes all of it needs no filler: the
 * transfer's own bytes extend the file (fill false), and pic_size follows once they are
 * written. */
bool Grow(Transfer& x, int64_t end, bool fill) {
    IMG_INF* inf = x.inf;
    if (end <= inf->pic_size) return true;
    if (x.flags & 0x108)
        fprintf(stderr, "Expanding .pic file (old size: %ld, new size: %ld)\n",
                static_cast<long>(inf->pic_size), static_cast<long>(end));
    if (!fill) return true;
    if (!Seek(x, inf->pic_size)) return false;
    /* The filler is whatever io_buf holds: zeros until its first use. */
    for (int64_t pos = inf->pic_size; pos < end;) {
        const int64_t n = end - pos < inf->buf_size ? end - pos : inf->buf_size;
        if (!WriteBytes(x, inf->io_buf, n)) return false;
        pos += n;
    }
    if (!Flush(x)) return false;
    inf->pic_size = end;
    return true;
}

/* Moves n samples of component c between file offset pos and mem; returns the memory
 * position after them, or null when the file refused. */
unsigned char* Segment(Transfer& x, int c, int natural, int64_t pos, int64_t n,
                       unsigned char* mem) {
    IMG_INF* inf = x.inf;
    if (!Seek(x, pos)) return nullptr;
    const bool byte_type = natural == IMG_BYTE || natural == IMG_UBYTE;
    if (x.data_type == natural && (!inf->shuffle || byte_type)) {
        const int64_t bytes = (n + x.per_byte - 1) / x.per_byte * x.item;
        const bool done = x.write ? WriteBytes(x, mem, bytes) : ReadBytes(x, c, mem, bytes);
        return done ? mem + bytes : nullptr;
    }
    const int64_t chunk = x.per_byte * (inf->buf_size / x.item);
    const IMG_CONV conv =
        x.write ? Img_conv_table[x.data_type][natural] : Img_conv_table[natural][x.data_type];
    void* m = mem;
    for (int64_t done = 0; done < n;) {
        const int64_t k = n - done < chunk ? n - done : chunk;
        const int64_t bytes = (k + x.per_byte - 1) / x.per_byte * x.item;
        void* io = inf->io_buf;
        if (x.write) {
            conv(&io, &m, k, inf->scale_fctr, inf->scale_fctr, 8, x.bits, x.flags,
                 inf->shuffle ? 2 : 0, &x.under, &x.over);
            if (!WriteBytes(x, inf->io_buf, bytes)) return nullptr;
        } else {
            if (!ReadBytes(x, c, inf->io_buf, bytes)) return nullptr;
            conv(&m, &io, k, inf->scale_fctr, inf->scale_fctr, x.bits, 8, x.flags,
                 inf->shuffle ? 1 : 0, &x.under, &x.over);
        }
        done += k;
    }
    return static_cast<unsigned char*>(m);
}

/* Padding after a written block, from io_buf too. */
bool Pad(Transfer& x, int64_t bytes) {
    for (int64_t left = bytes; left > 0;) {
        const int64_t n = left < x.inf->buf_size ? left : x.inf->buf_size;
        if (!WriteBytes(x, x.inf->io_buf, n)) return false;
        left -= n;
    }
    return true;
}

void ReportClips(const Transfer& x, int c) {
    if (x.flags & 7) return;
    if (x.under != 0)
        fprintf(stderr, "%s : field %d , component %ld : %g conversion underflow occured.\n",
                x.who, x.t, static_cast<long>(c), x.under);
    if (x.over != 0)
        fprintf(stderr, "%s : field %d , component %ld : %g conversion overflow occured.\n",
                x.who, x.t, static_cast<long>(c), x.over);
}

/* Moves every asked component; false when the file refused. */
bool Components(Transfer& x, int64_t record) {
    IMG_INF* inf = x.inf;
    /* Counters start once per call: a later component repeats the earlier counts. */
    x.under = x.over = 0;
    int64_t block = record;
    for (int c = 0; c < 3; block += x.blk[c], ++c) {
        if (!Asked(x, c)) continue;
        if (!Img_check_comp_exists(inf, c)) {
            fprintf(stderr, "%s: Demand non-existing component; exit\n", x.who);
            return false;
        }
        int bits;
        const int natural = mydtype(inf->fdtype, inf->dsign[c], &bits);
        const int64_t nb_h = Img_get_nb_h(inf, c);
        if (x.win == nullptr) {
            if (Segment(x, c, natural, block, x.smpl[c], x.buf[c]) == nullptr) return false;
            const int64_t used = (x.smpl[c] + x.per_byte - 1) / x.per_byte * x.item;
            if (x.write && !Pad(x, x.blk[c] - used)) return false;
        } else {
            const Window& w = *x.win;
            unsigned char* mem = x.buf[c];
            for (int y = 0; y < w.height[c] && mem != nullptr; ++y) {
                const int64_t first = (w.vstart[c] + y) * nb_h + w.hstart[c];
                mem = Segment(x, c, natural, block + first / x.per_byte * x.item, w.width[c], mem);
            }
            if (mem == nullptr) return false;
        }
        ReportClips(x, c);
    }
    return true;
}

int Run(Transfer& x) {
    if (Check(x) != 0 || CheckWindows(x) != 0) return 1;
    const int64_t R = x.blk[0] + x.blk[1] + x.blk[2];
    const int64_t record = x.t * R;
    const bool appended = record == x.inf->pic_size && WritesWholeRecord(x);
    if (x.write && !Grow(x, record + R, !appended)) return 1;
    if (!Components(x, record)) return 1;
    if (x.write && !Flush(x)) return 1;
    if (appended) x.inf->pic_size = record + R;
    if (x.new_size != 0 && RecordTemporalSize(x) != 0) return 1;
    return 0;
}

int Start(const char* who, bool write, int t, const int use[3], int data_type, void* buf0,
          void* buf1, void* buf2, IMG_INF* inf, const Window* win, int flags) {
    Transfer x{};
    x.who = who;
    x.write = write;
    x.t = t;
    x.use = use;
    x.data_type = data_type;
    x.buf[0] = static_cast<unsigned char*>(buf0);
    x.buf[1] = static_cast<unsigned char*>(buf1);
    x.buf[2] = static_cast<unsigned char*>(buf2);
    x.inf = inf;
    x.win = win;
    x.flags = flags;
    return Run(x);
}

}  // namespace

int Readvids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
             IMG_INF* inf, int flags) {
    return Start("Readvids", false, t, use, data_type, buf0, buf1, buf2, inf, nullptr, flags);
}

int Writevids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
              IMG_INF* inf, int flags) {
    return Start("Writevids", true, t, use, data_type, buf0, buf1, buf2, inf, nullptr, flags);
}

int Readwinvids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
                IMG_INF* inf, const int width[3], const int height[3], const int hstart[3],
                const int vstart[3], int flags) {
    const Window win{width, height, hstart, vstart};
    return Start("Readwinvids", false, t, use, data_type, buf0, buf1, buf2, inf, &win, flags);
}

int Writewinvids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
                 IMG_INF* inf, const int width[3], const int height[3], const int hstart[3],
                 const int vstart[3], int flags) {
    const Window win{width, height, hstart, vstart};
    return Start("Writewinvids", true, t, use, data_type, buf0, buf1, buf2, inf, &win, flags);
}
