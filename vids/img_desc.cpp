/* The description file (.des): put_info writes a record as text, get_info reads it back.
 * The reader ignores the labels and finds values by punctuation, so the two must stay
 * exactly matched. */
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vids/vids.h"
#include "vids/vids_private.h"

namespace {

const char* const kWho = "get_info";
const int kLineLen = 400;       /* bounded line read: longer lines are split */
const int kCommentBlock = 80;   /* the comment buffer grows by this much */

struct LineReader {
    FILE* f;
    char line[kLineLen];
    int number;   /* 1-based number of the line in line */
};

bool ReadError(FILE* f) {
    if (f == nullptr || !ferror(f)) return false;
    perror(kWho);
    return true;
}

/* Reads the next line; false (after a message) at the end of the file or on an error. */
bool NextLine(LineReader& r) {
    ++r.number;
    if (r.f != nullptr && fgets(r.line, kLineLen, r.f) != nullptr) return true;
    if (!ReadError(r.f))
        fprintf(stderr, "%s: Unexpected end of file on line %d\n", kWho, r.number);
    return false;
}

bool BadField(const LineReader& r) {
    fprintf(stderr, "%s: Bad field on line %d\n", kWho, r.number);
    return false;
}

/* Moves p past the next ch of the line. */
bool Past(const char*& p, char ch) {
    const char* q = strchr(p, ch);
    if (q == nullptr) return false;
    p = q + 1;
    return true;
}

bool ReadInt(const char* p, int* v) {
    char* end;
    errno = 0;
    const long x = strtol(p, &end, 10);
    if (end == p || errno == ERANGE || x < INT_MIN || x > INT_MAX) return false;
    *v = static_cast<int>(x);
    return true;
}

bool ReadFloat(const char* p, float* v) {
    char* end;
    const float x = strtof(p, &end);
    if (end == p) return false;
    *v = x;
    return true;
}

const char* SkipBlanks(const char* p) {
    while (*p == ' ' || *p == '\t') ++p;
    return p;
}

/* Three integers, each after the next '=' of the line: the sizes of line 04. A frame
 * beyond IMG_AREA_MAX is refused before anything is stored, so that no record ever
 * describes planes that cannot be held. */
bool ReadSizes(LineReader& r, IMG_INF* inf) {
    const char* p = r.line;
    int size[3];
    for (int d = 0; d < 3; ++d)
        if (!Past(p, '=') || !ReadInt(p, &size[d])) return BadField(r);
    if (!Img_check_area(size[0], size[1])) {
        fprintf(stderr, "%s: Frame size %d x %d exceeds the limit of %d samples\n", kWho, size[0],
                size[1], IMG_AREA_MAX);
        return false;
    }
    memcpy(inf->size, size, sizeof size);
    return true;
}

/* n integers after the next '(', each followed by a ','; the last needs no ',' when
 * last_comma is false. */
bool ReadTuple(const char*& p, int* v, int n, bool last_comma) {
    if (!Past(p, '(')) return false;
    for (int k = 0; k < n; ++k) {
        if (!ReadInt(p, &v[k])) return false;
        if ((k < n - 1 || last_comma) && !Past(p, ',')) return false;
    }
    return true;
}

/* Lines 05 to 07: name, sampling matrix and offsets of component c. */
bool ReadComponent(LineReader& r, IMG_INF* inf, int c) {
    const char* p = r.line;
    if (!Past(p, '=')) return BadField(r);
    p = SkipBlanks(p);
    char* name = inf->comp_nam[c];
    int k = 0;
    for (; k < IMG_COMP_NAM_LEN && *p != ',' && *p != '\0'; ++k) name[k] = *p++;
    for (int j = k; j < IMG_COMP_NAM_LEN; ++j) name[j] = ' ';
    /* The comma after the sixth value is the one after ')'. */
    if (!ReadTuple(p, inf->smpl_mtrx[c], 6, true)) return BadField(r);
    if (!ReadTuple(p, inf->smpl_ofst[c], 3, false)) return BadField(r);
    return true;
}

bool ReadFrequencies(LineReader& r, IMG_INF* inf) {
    const char* p = r.line;
    for (int d = 0; d < 3; ++d)
        if (!Past(p, '=') || !ReadFloat(p, &inf->freq[d])) return BadField(r);
    return true;
}

struct TypeWord {
    const char* word;
    int fdtype;
    int file_org;
};

/* Compared whole, in this order; the first match decides. */
const TypeWord kTypeWords[] = {
    {"OCTET", 0, 0},         {"BYTE", 0, 0},          {"1_BIT", 3, 0},
    {"2_BITS", 4, 0},        {"4_BITS", 5, 0},        {"ENTIER_2_SUN", 1, 1},
    {"INT_2_SUN", 1, 1},     {"REEL_SUN", 2, 1},      {"REAL_SUN", 2, 1},
    {"ENTIER_2_UNKNOWN", 1, 2}, {"INT_2_UNKNOWN", 1, 2}, {"REEL_UNKNOWN", 2, 2},
    {"REAL_UNKNOWN", 2, 2},  {"ENTIER_2", 1, 0},      {"INT_2", 1, 0},
    {"REEL", 2, 0},          {"REAL", 2, 0},
};

bool ReadType(LineReader& r, IMG_INF* inf) {
    const char* p = r.line;
    if (!Past(p, '=')) return BadField(r);
    p = SkipBlanks(p);
    inf->file_org = IMG_ORG_DEC;
    char word[kLineLen];
    int n = 0;
    while (p[n] != '\0' && !isspace(static_cast<unsigned char>(p[n]))) {
        word[n] = static_cast<char>(toupper(static_cast<unsigned char>(p[n])));
        ++n;
    }
    word[n] = '\0';
    for (const TypeWord& t : kTypeWords) {
        if (strcmp(word, t.word) != 0) continue;
        inf->fdtype = t.fdtype;
        inf->file_org = static_cast<signed char>(t.file_org);
        return true;
    }
    fprintf(stderr, "%s: Unrecognized file data type %s\n", kWho, p);
    return false;
}

bool ReadSigns(LineReader& r, IMG_INF* inf) {
    const char* p = r.line;
    for (int c = 0; c < 3; ++c) {
        if (!Past(p, '=')) return BadField(r);
        while (isspace(static_cast<unsigned char>(*p))) ++p;
        if (*p == '\0') return BadField(r);
        /* Only an upper-case N means unsigned. */
        inf->dsign[c] = *p != 'N';
    }
    return true;
}

/* 1 is doubled fourteen times; the factor must be one of the fifteen values. */
bool Not_valid_power_of_2(int v) {
    int p = 1;
    for (int k = 0; k <= 14; ++k, p *= 2)
        if (v == p) return false;
    return true;
}

bool ReadScale(LineReader& r, IMG_INF* inf) {
    const char* p = r.line;
    if (!Past(p, '=') || !ReadInt(p, &inf->scale_fctr)) return BadField(r);
    if (inf->fdtype == IMG_FDT_ENTIER_2 && Not_valid_power_of_2(inf->scale_fctr)) {
        fprintf(stderr, "%s: Bad scaling factor : %d\n", kWho, inf->scale_fctr);
        return false;
    }
    return true;
}

bool ReadNumVar(LineReader& r, IMG_INF* inf) {
    const char* p = r.line;
    if (!Past(p, '=') || !ReadInt(p, &inf->num_var)) return BadField(r);
    return true;
}

bool ReadVariable(LineReader& r, IMG_INF* inf, int i) {
    if (i > IMG_NB_VAR_MAX - 1) {
        fprintf(stderr, "%s: Can't read variable %d IMG_NB_VAR_MAX too low\n", kWho, i);
        return false;
    }
    if (!NextLine(r)) return false;
    const char* eq = strchr(r.line, '=');
    if (eq == nullptr) {
        fprintf(stderr, "%s: Bad variable field, no '=' sign found\n", kWho);
        return false;
    }
    if (eq - r.line < 2) {
        fprintf(stderr, "%s: Bad variable name before '=' sign\n", kWho);
        return false;
    }
    /* The writer puts a blank before '='; the character there is dropped whatever it is. */
    int len = static_cast<int>(eq - r.line) - 1;
    if (len > IMG_VAR_NAME_LEN - 1) len = IMG_VAR_NAME_LEN - 1;
    memcpy(inf->var_names[i], r.line, len);
    inf->var_names[i][len] = '\0';
    const char* v = eq + 1;
    int n = 0;
    while (n < IMG_VAR_LEN - 1 && v[n] != '\n' && v[n] != '\0' &&
           static_cast<unsigned char>(v[n]) != 255)
        ++n;
    memcpy(inf->variables[i], v, n);
    inf->variables[i][n] = '\0';
    return true;
}

/* Every remaining byte. The buffer, taken to hold kCommentBlock bytes at first, doubles
 * in whole blocks whenever it is full, so that a long comment costs linear time; it
 * always has room for the final NUL. */
bool ReadComments(FILE* f, IMG_INF* inf) {
    if (inf->comments == nullptr) {
        fprintf(stderr,
                "%s: Memory not allocated for comments! Use Img_INF_alloc before openvids\n",
                kWho);
        return false;
    }
    char* buf = inf->comments;
    size_t n = 0, room = kCommentBlock;
    int ch;
    while ((ch = fgetc(f)) != EOF) {
        buf[n++] = static_cast<char>(ch);
        if (n < room) continue;
        char* bigger = static_cast<char*>(malloc(2 * room));
        if (bigger == nullptr) {
            fprintf(stderr, "%s: Error in Opvids : Memory realloc error for comments\n", kWho);
            buf[n - 1] = '\0';
            return false;
        }
        memcpy(bigger, buf, n);
        free(buf);
        buf = inf->comments = bigger;
        room *= 2;
    }
    buf[n] = '\0';
    return !ReadError(f);
}

}  // namespace

int Img_get_used_length(const char* text, int n) {
    int len = 0;
    while (len < n && text[len] != '\0') ++len;
    while (len > 0 && text[len - 1] == ' ') --len;
    return len;
}

int put_info(IMG_INF* inf, int /*flags*/) {
    FILE* f = inf->stream;
    if (f == nullptr) return 1;
    fprintf(f, "01 NOM DU FICHIER = %s\n", inf->fname);
    fprintf(f, "02\n");
    fprintf(f, "03 VERSION (format du Fichier) = 300\n");
    fprintf(f, "04 DIMENSIONS : HORIZONTALE =   %3d, ", inf->size[0]);
    fprintf(f, "VERTICALE =   %3d, ", inf->size[1]);
    fprintf(f, "TEMPORELLE =   %3d\n", inf->size[2]);
    for (int c = 0; c < 3; ++c) {
        const int used = Img_get_used_length(inf->comp_nam[c], IMG_COMP_NAM_LEN);
        const int* m = inf->smpl_mtrx[c];
        const int* o = inf->smpl_ofst[c];
        /* The label counts components from 0, the line number from 05. */
        fprintf(f, "%02d COMPOSANTE_%1d: NOM = %*.*s,", c + 5, c, used, used, inf->comp_nam[c]);
        fprintf(f, " MATRICE_ECH = (");
        for (int k = 0; k < 5; ++k) fprintf(f, "%d,", m[k]);
        fprintf(f, "%d),", m[5]);
        fprintf(f, " DECALAGE = (%d,%d,%d)\n", o[0], o[1], o[2]);
    }
    fprintf(f, "08 FREQUENCES ECHANT.: HORIZ =%10.4f,", inf->freq[0]);
    fprintf(f, " VERT =%10.4f, TEMP =%10.4f\n", inf->freq[1], inf->freq[2]);
    fprintf(f, "09 TYPE DE DONNEES = %s%s\n", Img_fdtype_keyword(inf->fdtype),
            Img_org_suffix(inf->fdtype, inf->file_org));
    fprintf(f, "10 DONNEES_SIGNEES:  COMP_1 =%2s,  COMP_2 =%2s,  COMP_3 =%2s\n",
            inf->dsign[0] ? "O" : "N", inf->dsign[1] ? "O" : "N", inf->dsign[2] ? "O" : "N");
    fprintf(f, "11 FACTEUR D'ECHELLE = %d\n", inf->scale_fctr);
    fprintf(f, "12 NOMBRE DE VARIABLES USAGER =%5d\n", inf->num_var);
    /* Readers refuse index 20 and beyond, so it is never written. */
    for (int i = 0; i < inf->num_var && i < IMG_NB_VAR_MAX; ++i)
        fprintf(f, "%.*s =%.*s\n", IMG_VAR_NAME_LEN, inf->var_names[i], IMG_VAR_LEN,
                inf->variables[i]);
    fprintf(f, "*\n");
    fprintf(f, "**********************************************");
    fprintf(f, "**********************************\n");
    fprintf(f, "%s\n", inf->comments != nullptr ? inf->comments : "");
    fflush(f);
    return ferror(f) ? 1 : 0;
}

int get_info(IMG_INF* inf, int /*flags*/) {
    LineReader r{inf->stream, {0}, 0};
    for (int k = 0; k < 3; ++k)   /* name and version are not checked */
        if (!NextLine(r)) return 1;
    if (!NextLine(r) || !ReadSizes(r, inf)) return 1;
    for (int c = 0; c < 3; ++c)
        if (!NextLine(r) || !ReadComponent(r, inf, c)) return 1;
    if (!NextLine(r) || !ReadFrequencies(r, inf)) return 1;
    if (!NextLine(r) || !ReadType(r, inf)) return 1;
    if (!NextLine(r) || !ReadSigns(r, inf)) return 1;
    if (!NextLine(r) || !ReadScale(r, inf)) return 1;
    if (!NextLine(r) || !ReadNumVar(r, inf)) return 1;
    for (int i = 0; i < inf->num_var; ++i)
        if (!ReadVariable(r, inf, i)) return 1;
    /* The two separator lines, whatever they hold. */
    for (int k = 0; k < 2; ++k)
        if (fgets(r.line, kLineLen, r.f) == nullptr) break;
    if (ReadError(r.f)) return 1;
    return ReadComments(r.f, inf) ? 0 : 1;
}
