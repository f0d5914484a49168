/* Opening and closing sequences: file names, modes and permissions, backups, the
 * description, the data file and its I/O buffer, byte order. */
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "vids/vids.h"
#include "vids/vids_private.h"

namespace {

const char* const kWho = "Openvids";
const int kDefaultBufSize = 8192;

/* Releases the data file and buffer of a failed open; returns 1. */
int Detach(IMG_INF* inf) {
    Closevids(inf, 0);
    return 1;
}

struct Paths {
    char base[IMG_DES_PATH_LEN + 1];
    char des[IMG_DES_PATH_LEN + 1];
    char pic[IMG_DES_PATH_LEN + 1];
};

void Box(const char* const lines[4]) {
    fprintf(stderr, "%s: Severe Warning : \n", kWho);
    for (int k = 0; k < 4; ++k) fputs(lines[k], stderr);
}

const char* const kOpenedBox[4] = {
    "**********************************************\n",
    "*** Structure info pointing to an opened   ***\n",
    "*** image.  Closing it!!!                  ***\n",
    "**********************************************\n"};
const char* const kIncompatibleBox[4] = {
    "**********************************************\n",
    "*            SEVERE WARNING!!!               *\n",
    "* OLD file not compatible with IMG_INF value *\n",
    "**********************************************\n\n"};

void PrintRecord(const char* title, const IMG_INF* inf) {
    printf("%s\n", title);
    Img_INF_print(inf);
}

bool Readable(const char* path) { return access(path, R_OK) == 0; }
bool Writable(const char* path) { return access(path, W_OK) == 0; }

/* Closes the description stream; returns 1, the result of a failed open. */
int CloseDes(IMG_INF* inf) {
    if (inf->stream != nullptr) fclose(inf->stream);
    inf->stream = nullptr;
    return 1;
}

/* Closes the description stream after its last use: 0, or 1 after a message when the
 * system reports that what was written did not reach the file. */
int FinishDes(IMG_INF* inf) {
    FILE* f = inf->stream;
    inf->stream = nullptr;
    if (f == nullptr || fclose(f) == 0) return 0;
    perror(kWho);
    fprintf(stderr, "%s: fatal error; can't close des file\n", kWho);
    return 1;
}

/* A sequence about to be created must have a frame that a machine can hold. */
int CheckNewArea(const IMG_INF* inf) {
    if (Img_check_area(inf->size[0], inf->size[1])) return 0;
    fprintf(stderr, "%s : Frame size %d x %d of %s exceeds the limit of %d samples\n", kWho,
            inf->size[0], inf->size[1], inf->fname, IMG_AREA_MAX);
    return 1;
}

int OpenDes(IMG_INF* inf, const char* path, const char* mode) {
    inf->stream = fopen(path, mode);
    if (inf->stream != nullptr) return 0;
    perror(kWho);
    fprintf(stderr, "%s: fatal error; can't open des file\n", kWho);
    return 1;
}

/* Backs up each existing file of a sequence about to be created. */
int BackupForNew(const Paths& p, bool des_exists, bool pic_exists) {
    if ((des_exists && !Writable(p.des)) || (pic_exists && !Writable(p.pic))) {
        fprintf(stderr, "%s : Permission to write for backup %s or %s denied\n", kWho, p.des,
                p.pic);
        return 1;
    }
    /* Never truncate a file that could not be put aside; a description already renamed
     * is put back, so that a refused open leaves the old sequence as it was. */
    if (des_exists && fbakup(p.des) != 0) {
        fprintf(stderr, "%s : Backup of %s failed\n", kWho, p.des);
        return 1;
    }
    if (pic_exists && fbakup(p.pic) != 0) {
        fprintf(stderr, "%s : Backup of %s failed\n", kWho, p.pic);
        if (des_exists) {
            const std::string backup = std::string(p.des) + "~";
            if (rename(backup.c_str(), p.des) != 0) perror("fbakup");
        }
        return 1;
    }
    return 0;
}

/* Compares the file's description with the record; with 0x800 a compatible description
 * is rewritten from the record. The description stays open for reading. */
int CompareWithFile(IMG_INF* inf, const Paths& p, int flags) {
    IMG_INF* file = nullptr;
    if (!Img_INF_alloc(&file)) return CloseDes(inf);
    file->stream = inf->stream;
    const int rc = get_info(file, flags);
    file->stream = nullptr;
    if (rc != 0) {
        Img_INF_free(file);
        fprintf(stderr, "%s: fatal error; get_info \n", kWho);
        return CloseDes(inf);
    }
    const int compatible = Img_compatible_IMG_INF(file, inf, flags);
    Img_INF_free(file);
    if (!compatible) {
        if (!(flags & 3)) Box(kIncompatibleBox);
        if ((flags & 0x108) == 0x108) PrintRecord("Information in memory :", inf);
        if (!(flags & 3)) fputs("Warning! Information on file will be used\n", stderr);
        return 0;
    }
    if (!(flags & 0x800)) return 0;
    CloseDes(inf);
    if (!Writable(p.des)) {
        fprintf(stderr, "%s : Permission to write for backup %s denied\n", kWho, p.des);
        return 1;
    }
    if (fbakup(p.des) != 0) {
        fprintf(stderr, "%s : Backup of %s failed\n", kWho, p.des);
        return 1;
    }
    if (OpenDes(inf, p.des, "w+") != 0) return 1;
    Img_check_sampling(inf);
    if (put_info(inf, flags) != 0) {
        fprintf(stderr, "%s: fatal error; put_info \n", kWho);
        return CloseDes(inf);
    }
    if (FinishDes(inf) != 0) return 1;
    return OpenDes(inf, p.des, "r+");
}

int DescriptionOnly(IMG_INF* inf, const Paths& p, bool des_exists, int flags) {
    if (!des_exists) {
        fprintf(stderr, "%s : File %s doesn't exist\n", kWho, p.des);
        return 1;
    }
    if (!Readable(p.des)) {
        fprintf(stderr, "%s : Permission to read %s denied\n", kWho, p.des);
        return 1;
    }
    if (OpenDes(inf, p.des, "r") != 0) return 1;
    if (get_info(inf, flags) != 0) {
        fprintf(stderr, "%s: fatal error; get_info \n", kWho);
        return CloseDes(inf);
    }
    CloseDes(inf);
    if ((flags & 0x108) == 0x108) PrintRecord("Information in memory :", inf);
    return 0;
}

/* Mode of an existing pair of files: "r+" when both are writable, else "r". */
const char* ExistingMode(const Paths& p) {
    return Writable(p.des) && Writable(p.pic) ? "r+" : "r";
}

/* Step 6: chooses the fopen mode. 1 on refusal. */
int ChooseMode(const IMG_INF* inf, const Paths& p, const char* name, const char* type,
               int flags, bool des_exists, bool pic_exists, const char** mode, bool* is_new,
               bool* compare) {
    const bool both = des_exists && pic_exists;
    *is_new = false;
    *compare = false;
    if (strcmp(type, "new") == 0) {
        if (CheckNewArea(inf) != 0 || BackupForNew(p, des_exists, pic_exists) != 0) return 1;
        *mode = "w+";
        *is_new = true;
    } else if (strcmp(type, "old") == 0) {
        if (!both) {
            fprintf(stderr, "%s : File %s or %s don't exist\n", kWho, p.des, p.pic);
            return 1;
        }
        *compare = (flags & 0x800) != 0;
        if (Readable(p.des) && Readable(p.pic)) {
            *mode = ExistingMode(p);
        } else if (Writable(p.des) && Writable(p.pic)) {
            /* Kept as it is: "w+" truncates the description, whose read then fails. */
            if (!(flags & 1))
                fprintf(stderr, "%s : Warning permission to read %s or %s denied\n", kWho, p.des,
                        p.pic);
            *mode = "w+";
        } else {
            fprintf(stderr, "%s : Permission to read and write %s or %s denied\n", kWho, p.des,
                    p.pic);
            return 1;
        }
    } else if (strcmp(type, "old/new") == 0 || strcmp(type, "new/old") == 0) {
        if (both) {
            if (!Readable(p.des) || !Readable(p.pic)) {
                fprintf(stderr, "%s : Permission to read %s or %s denied\n", kWho, p.des, p.pic);
                return 1;
            }
            *mode = ExistingMode(p);
            *compare = true;
        } else {
            if (CheckNewArea(inf) != 0 || BackupForNew(p, des_exists, pic_exists) != 0)
                return 1;
            *mode = "w+";
            *is_new = true;
        }
    } else {
        fprintf(stderr,
                "%s : Bad 'type'=%s parameter for file %s. \n"
                "Accepted values : 'old', 'new', 'old/new'\n",
                kWho, type, name);
        return 1;
    }
    return 0;
}

/* Steps 12 to 16: I/O buffer, data file, byte order, bit-type widths, access and size. */
int AttachData(IMG_INF* inf, const Paths& p, const char* mode, int flags) {
    struct stat st;
    inf->buf_size = 0;
    if (stat(p.pic, &st) == 0) {
        inf->pic_size = st.st_size;
        inf->buf_size = st.st_blksize / 8 * 8;
    } else {
        inf->pic_size = 0;
    }
    if (inf->buf_size < 16) inf->buf_size = kDefaultBufSize;
    inf->io_buf = static_cast<unsigned char*>(calloc(inf->buf_size, 1));
    if (inf->io_buf == nullptr) {
        fprintf(stderr, "%s: fatal error; memory allocation\n", kWho);
        return Detach(inf);
    }
    inf->stream = fopen(p.pic, mode);
    if (inf->stream == nullptr) {
        perror(kWho);
        fprintf(stderr, "%s: fatal error; can't open file %s\n", kWho, p.pic);
        return Detach(inf);
    }
    inf->opened = 1;
    strcpy(inf->des_path, p.des);
    inf->shuffle = inf->mach_org != inf->file_org;
    if ((flags & 0x100) && inf->shuffle)
        fprintf(stderr,
                "%s : Byte shuffling will be performed for every occurence\n"
                " of INT_2 or REAL dtype\n",
                kWho);

    int64_t blk[3], smpl[3];
    int item, bits;
    cal_physize(inf, blk, smpl, &item, &bits);
    if (bits < 8) {
        const int per_byte = 8 / bits;
        for (int c = 0; c < 3; ++c) {
            if (!Img_check_comp_exists(inf, c) || Img_get_nb_h(inf, c) % per_byte == 0) continue;
            fprintf(stderr,
                    "%s: Nb pels horizontally for component %d must be a multiple of %d\n"
                    " for that BIT file data type\n",
                    kWho, c, per_byte);
            return Detach(inf);
        }
    }

    if (mode[0] == 'r') {
        inf->access_flags = 8 | (strcmp(mode, "r+") == 0 ? 4 : 0);
        const int64_t needed = Img_get_nb_t(inf, 0) * (blk[0] + blk[1] + blk[2]);
        if (inf->pic_size < needed && !(flags & 1))
            fprintf(stderr,
                    "%s : File %s too small to contain data as described in .des file\n"
                    "Needed size: %ld   Actual size: %ld\n",
                    kWho, inf->fname, static_cast<long>(needed), static_cast<long>(inf->pic_size));
    } else {
        inf->access_flags = 8 | 4;
    }
    return 0;
}

}  // namespace

int Openvids(const char* name, IMG_INF* inf, const char* type, int flags) {
    if (inf == nullptr) {
        fprintf(stderr, "%s: no IMG_INF record\n", kWho);
        return 1;
    }
    if (name == nullptr) name = "";
    if (type == nullptr) type = "";
    if (!(flags & 0x200)) {
        if (flags & 0x100)
            fprintf(stderr, "\nMemory organization : %s\n",
                    Img_org_name(get_memory_organization()));
        if (!Valid_machine()) {
            fprintf(stderr, "%s : The program is not running on a valid machine\n", kWho);
            return 1;
        }
    }
    if (inf->stream != nullptr || inf->opened) {
        if (!(flags & 3)) Box(kOpenedBox);
        Closevids(inf, 0);
    }

    /* The record keeps the name unexpanded, without extension. */
    Img_set_fname(inf, name);
    strpext(inf->fname);
    Paths p;
    const char* base = expenv(inf->fname);
    if (strlen(base) + 5 > IMG_DES_PATH_LEN) {
        fprintf(stderr, "%s : File name %s too long\n", kWho, base);
        return 1;
    }
    strcpy(p.base, base);
    snprintf(p.des, sizeof p.des, "%s.des", p.base);
    snprintf(p.pic, sizeof p.pic, "%s%s", p.base, (flags & 0x400) ? ".dspl" : ".pic");
    if (!(flags & 4)) {
        if (flags & 0x200)
            fprintf(stderr, "Reading .des file  : %s.des\n\n", p.base);
        else
            fprintf(stderr, "Opening file  : %s\n\n", p.base);
    }

    struct stat st;
    const bool des_exists = stat(p.des, &st) == 0;
    const bool pic_exists = stat(p.pic, &st) == 0;
    if (flags & 0x200) return DescriptionOnly(inf, p, des_exists, flags);

    const char* mode = nullptr;
    bool is_new = false, compare = false;
    if (ChooseMode(inf, p, name, type, flags, des_exists, pic_exists, &mode, &is_new,
                   &compare) != 0)
        return 1;
    if (OpenDes(inf, p.des, mode) != 0) return 1;

    if (is_new) {
        Img_check_sampling(inf);   /* its verdict is not acted on */
        if (put_info(inf, flags) != 0) {
            fprintf(stderr, "%s: fatal error; put_info \n", kWho);
            return CloseDes(inf);
        }
    } else {
        if (compare && CompareWithFile(inf, p, flags) != 0) return 1;
        /* The file's description always wins over the caller's settings. */
        rewind(inf->stream);
        if (get_info(inf, flags) != 0) {
            fprintf(stderr, "%s: fatal error; get_info \n", kWho);
            return CloseDes(inf);
        }
        Img_check_sampling(inf);
    }
    if (FinishDes(inf) != 0) return 1;
    if (flags & 8) PrintRecord("Information on file :", inf);

    if (AttachData(inf, p, mode, flags) != 0) return 1;
    if (!is_new) return 0;

    /* A new sequence gets its full length at once. */
    const int last = Img_get_nb_t(inf, 0) - 1;
    if (last < 0) return 2;
    const int none[3] = {0, 0, 0};
    if (Writevids(last, none, IMG_REAL, nullptr, nullptr, nullptr, inf, 0x2000 + 7) != 0) {
        fprintf(stderr, "%s: fatal error; can't extend file %s\n", kWho, p.pic);
        return Detach(inf);
    }
    return 2;
}

int Closevids(IMG_INF* inf, int /*flags*/) {
    if (inf == nullptr) return 0;
    int rc = 0;
    /* The last buffered samples reach the file here: a failure loses them. */
    if (inf->stream != nullptr && fclose(inf->stream) != 0) {
        perror("Closevids");
        rc = 1;
    }
    free(inf->io_buf);
    inf->stream = nullptr;
    inf->io_buf = nullptr;
    inf->pic_size = 0;
    inf->access_flags = 0;
    inf->buf_size = 0;
    inf->opened = 0;
    return rc;
}
