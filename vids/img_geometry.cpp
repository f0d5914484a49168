/* Accessors of the sampling grid: name, sizes, frequencies, components and their
 * lattices, sample counts and the derived image format. */
#include <cstdio>
#include <cstring>

#include "vids/vids.h"
#include "vids/vids_private.h"

namespace {

bool BadComp(int c) { return c < 0 || c > 2; }

void BadCompReport(const char* func) { fprintf(stderr, "\nBad comp_idx in '%s'\n", func); }

[[noreturn]] void BadCompFatal(const char* func) {
    BadCompReport(func);
    Img_fatal("");
}

/* Samples along dimension d (0 h, 1 v, 2 t), the period being matrix entry k. */
int CountSamples(const IMG_INF* inf, int c, int d, int k, const char* func) {
    if (BadComp(c)) {
        BadCompReport(func);
        return 0;
    }
    if (!Img_check_comp_exists(inf, c)) return 0;
    const int period = inf->smpl_mtrx[c][k];
    if (period < 1) {
        fprintf(stderr, "\nBad diagonal elem for comp %d in '%s'\n", c, func);
        return 0;
    }
    const long long size = Img_get_size(inf, d);
    return static_cast<int>((size + period - 1) / period);
}

bool Starts(const char* name, const char* prefix) {
    return strncmp(name, prefix, strlen(prefix)) == 0;
}

/* Chroma lattices differ from luminance in a11 or a22. */
bool ChromaSubsampled(const IMG_INF* inf) {
    const int* y = inf->smpl_mtrx[0];
    for (int c = 1; c < 3; ++c)
        if (inf->smpl_mtrx[c][2] != y[2] || inf->smpl_mtrx[c][0] != y[0]) return true;
    return false;
}

const int kProgressive[6] = {1, 0, 1, 0, 0, 1};
const int kInterlaced[6] = {1, 0, 2, 0, 1, 1};

void SetMatrix(IMG_INF* inf, int c, const int m[6], int a11, int a22) {
    Img_set_smpl_mtrx(inf, c, a11, m[1], a22, m[3], m[4], m[5]);
}

}  // namespace

void Img_get_fname(const IMG_INF* inf, char* fname) {
    strncpy(fname, inf->fname, IMG_FNAME_LEN);
    fname[IMG_FNAME_LEN - 1] = '\0';
}

void Img_set_fname(IMG_INF* inf, const char* fname) {
    Img_refuse_if_open(inf, "Img_set_fname");
    strncpy(inf->fname, fname != nullptr ? fname : "", IMG_FNAME_LEN);
    inf->fname[IMG_FNAME_LEN - 1] = '\0';
}

int Img_get_size(const IMG_INF* inf, int comp_idx) {
    if (BadComp(comp_idx)) BadCompFatal("Img_get_size");
    return inf->size[comp_idx] < 0 ? 0 : inf->size[comp_idx];
}

void Img_get_sizes(const IMG_INF* inf, int* h, int* v, int* t) {
    *h = Img_get_size(inf, 0);
    *v = Img_get_size(inf, 1);
    *t = Img_get_size(inf, 2);
}

void Img_set_size(IMG_INF* inf, int comp_idx, int size) {
    Img_refuse_if_open(inf, "Img_set_size");
    if (BadComp(comp_idx)) BadCompFatal("Img_set_size");
    if (size < 1) {
        /* The message names the horizontal size whatever the dimension. */
        fputs("\nBad size_hor in 'Img_set_size'\n", stderr);
        size = 0;
    }
    inf->size[comp_idx] = size;
}

void Img_set_sizes(IMG_INF* inf, int h, int v, int t) {
    Img_refuse_if_open(inf, "Img_set_sizes");
    const int in[3] = {h, v, t};
    const char* const name[3] = {"size_hor", "size_vert", "size_temp"};
    for (int d = 0; d < 3; ++d) {
        if (in[d] < 1) {
            fprintf(stderr, "\nBad %s in 'Img_set_sizes'\n", name[d]);
            inf->size[d] = 0;
        } else {
            inf->size[d] = in[d];
        }
    }
}

float Img_get_freq(const IMG_INF* inf, int comp_idx) {
    if (BadComp(comp_idx)) BadCompFatal("Img_get_freq");
    return inf->freq[comp_idx] < 0.0f ? 0.0f : inf->freq[comp_idx];
}

void Img_get_freqs(const IMG_INF* inf, float* h, float* v, float* t) {
    *h = Img_get_freq(inf, 0);
    *v = Img_get_freq(inf, 1);
    *t = Img_get_freq(inf, 2);
}

void Img_set_freq(IMG_INF* inf, int comp_idx, float freq) {
    Img_refuse_if_open(inf, "Img_set_freq");
    if (BadComp(comp_idx)) BadCompFatal("Img_set_freq");
    if (!(freq > 0.0f)) {
        fputs("\nBad sampling freq in 'Img_set_freq'\n", stderr);
        freq = 0.0f;
    }
    inf->freq[comp_idx] = freq;
}

void Img_set_freqs(IMG_INF* inf, float h, float v, float t) {
    Img_refuse_if_open(inf, "Img_set_freqs");
    const float in[3] = {h, v, t};
    const char* const name[3] = {"freq_h", "freq_v", "freq_t"};
    for (int d = 0; d < 3; ++d) {
        if (!(in[d] > 0.0f)) {
            fprintf(stderr, "\nBad %s in 'Img_set_freqs'\n", name[d]);
            inf->freq[d] = 0.0f;
        } else {
            inf->freq[d] = in[d];
        }
    }
}

void Img_get_comp_nam(const IMG_INF* inf, int comp_idx, char* name) {
    if (BadComp(comp_idx)) BadCompFatal("Img_get_comp_nam");
    memcpy(name, inf->comp_nam[comp_idx], IMG_COMP_NAM_LEN);
}

void Img_set_comp_nam(IMG_INF* inf, int comp_idx, const char* name) {
    Img_refuse_if_open(inf, "Img_set_comp_nam");
    if (BadComp(comp_idx)) return BadCompReport("Img_set_comp_nam");
    if (name == nullptr) name = "";
    while (*name == ' ') ++name;
    char* dst = inf->comp_nam[comp_idx];
    int k = 0;
    for (; k < IMG_COMP_NAM_LEN && name[k] != '\0'; ++k) dst[k] = name[k];
    for (; k < IMG_COMP_NAM_LEN; ++k) dst[k] = ' ';
}

void Img_set_comp_names(IMG_INF* inf, int img_format) {
    Img_refuse_if_open(inf, "Img_set_comp_names");
    const char* n[3];
    switch (img_format) {
        case IMG_FMT_RGB: n[0] = "R"; n[1] = "G"; n[2] = "B"; break;
        case IMG_FMT_YC_422:
        case IMG_FMT_YC_420:
        case IMG_FMT_YC_444: n[0] = "Y"; n[1] = "C1"; n[2] = "C2"; break;
        case IMG_FMT_MONO: n[0] = "Y"; n[1] = " "; n[2] = " "; break;
        case IMG_FMT_YIQ_SUB:
        case IMG_FMT_YIQ: n[0] = "Y"; n[1] = "I"; n[2] = "Q"; break;
        case IMG_FMT_NTSC: n[0] = "NTSC"; n[1] = " "; n[2] = " "; break;
        default: Img_fatal("\nBad img_format in 'Img_set_comp_names'\n");
    }
    for (int c = 0; c < 3; ++c) Img_set_comp_nam(inf, c, n[c]);
}

void Img_get_smpl_mtrx(const IMG_INF* inf, int comp_idx, int* a11, int* a12, int* a22,
                       int* a13, int* a23, int* a33) {
    if (BadComp(comp_idx)) BadCompFatal("Img_get_smpl_mtrx");
    const int* m = inf->smpl_mtrx[comp_idx];
    *a11 = m[0];
    *a12 = m[1];
    *a22 = m[2];
    *a13 = m[3];
    *a23 = m[4];
    *a33 = m[5];
}

void Img_set_smpl_mtrx(IMG_INF* inf, int comp_idx, int a11, int a12, int a22, int a13,
                       int a23, int a33) {
    Img_refuse_if_open(inf, "Img_set_smpl_mtrx");
    if (BadComp(comp_idx)) return BadCompReport("Img_set_smpl_mtrx");
    int* m = inf->smpl_mtrx[comp_idx];
    m[0] = a11;
    m[1] = a12;
    m[2] = a22;
    m[3] = a13;
    m[4] = a23;
    m[5] = a33;
}

void Img_set_smpl_matrices(IMG_INF* inf, int img_format, int interlaced) {
    Img_refuse_if_open(inf, "Img_set_smpl_matrices");
    const int* m = interlaced == 1 ? kInterlaced : kProgressive;
    const int a22 = m[2];
    int ch11 = 1, ch22 = a22;   /* chroma periods */
    switch (img_format) {
        case IMG_FMT_RGB:
        case IMG_FMT_MONO:
        case IMG_FMT_YC_444:
        case IMG_FMT_YIQ: break;
        case IMG_FMT_YC_422:
        case IMG_FMT_YIQ_SUB: ch11 = 2; break;
        case IMG_FMT_YC_420: ch11 = 2; ch22 = 2 * a22; break;
        /* The message names the other function; callers know it by that text. */
        default: Img_fatal("\nBad img_format in 'Img_set_comp_names'\n");
    }
    SetMatrix(inf, 0, m, 1, a22);
    SetMatrix(inf, 1, m, ch11, ch22);
    SetMatrix(inf, 2, m, ch11, ch22);
}

void Img_get_smpl_ofst(const IMG_INF* inf, int comp_idx, int* h, int* v, int* t) {
    if (BadComp(comp_idx)) BadCompFatal("Img_get_smpl_ofst");
    *h = inf->smpl_ofst[comp_idx][0];
    *v = inf->smpl_ofst[comp_idx][1];
    *t = inf->smpl_ofst[comp_idx][2];
}

void Img_set_smpl_ofst(IMG_INF* inf, int comp_idx, int h, int v, int t) {
    Img_refuse_if_open(inf, "Img_set_smpl_ofst");
    if (BadComp(comp_idx)) return BadCompReport("Img_set_smpl_ofst");
    inf->smpl_ofst[comp_idx][0] = h;
    inf->smpl_ofst[comp_idx][1] = v;
    inf->smpl_ofst[comp_idx][2] = t;
}

int Img_get_nb_h(const IMG_INF* inf, int comp_idx) {
    return CountSamples(inf, comp_idx, 0, 0, "Img_get_nb_h");
}

int Img_get_nb_v(const IMG_INF* inf, int comp_idx) {
    return CountSamples(inf, comp_idx, 1, 2, "Img_get_nb_v");
}

int Img_get_nb_t(const IMG_INF* inf, int comp_idx) {
    return CountSamples(inf, comp_idx, 2, 5, "Img_get_nb_t");
}

int Img_get_format(const IMG_INF* inf) {
    const char* n0 = inf->comp_nam[0];
    const char* n1 = inf->comp_nam[1];
    const char* n2 = inf->comp_nam[2];
    if (n0[0] == 'R' && (n1[0] == 'G' || n1[0] == 'V') && n2[0] == 'B') return IMG_FMT_RGB;
    if (n0[0] == 'Y' && Starts(n1, "C1") && Starts(n2, "C2")) {
        /* Chroma halved vertically counts as 4:2:0, any other difference as 4:2:2. */
        const int y22 = inf->smpl_mtrx[0][2];
        if (inf->smpl_mtrx[1][2] == 2 * y22 && inf->smpl_mtrx[2][2] == 2 * y22)
            return IMG_FMT_YC_420;
        return ChromaSubsampled(inf) ? IMG_FMT_YC_422 : IMG_FMT_YC_444;
    }
    if (n0[0] == 'Y' && n1[0] == 'I' && n2[0] == 'Q')
        return ChromaSubsampled(inf) ? IMG_FMT_YIQ_SUB : IMG_FMT_YIQ;
    if (n0[0] == 'Y' && n1[0] == ' ' && n2[0] == ' ') return IMG_FMT_MONO;
    return IMG_FMT_UNKNOWN;
}

int Img_get_comp(const IMG_INF* inf) {
    const char* n0 = inf->comp_nam[0];
    const char* n1 = inf->comp_nam[1];
    const char* n2 = inf->comp_nam[2];
    if (n0[0] == 'R' && (n1[0] == 'G' || n1[0] == 'V') && n2[0] == 'B') return IMG_FMT_RGB;
    if (n0[0] == 'Y' && Starts(n1, "C1") && Starts(n2, "C2")) return IMG_FMT_YC_422;
    if (n0[0] == 'Y' && n1[0] == 'I' && n2[0] == 'Q') return IMG_FMT_YIQ_SUB;
    if (n0[0] == 'Y' && n1[0] == ' ' && n2[0] == ' ') return IMG_FMT_MONO;
    return IMG_FMT_UNKNOWN;
}
