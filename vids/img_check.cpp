/* Checks of a record: component existence, lattice form, interlace, usable sampling,
 * and whether one record can stand for another. */
#include <cstdio>
#include <cstring>

#include "vids/vids.h"
#include "vids/vids_private.h"

int Img_check_comp(const char* name, int n) {
    for (int k = 0; k < n && name[k] != '\0'; ++k)
        if (name[k] != ' ') return 1;
    return 0;
}

int Img_check_comp_exists(const IMG_INF* inf, int comp_idx) {
    if (comp_idx < 0 || comp_idx > 2) Img_fatal("\nBad comp_idx in 'Img_check_comp_exists'\n");
    return Img_check_comp(inf->comp_nam[comp_idx], IMG_COMP_NAM_LEN);
}

int Img_check_hermite(const int m[6]) {
    const int a11 = m[0], a12 = m[1], a22 = m[2], a13 = m[3], a23 = m[4], a33 = m[5];
    for (int k = 0; k < 6; ++k)
        if (m[k] < 0) return 0;
    return a11 > 0 && a22 > 0 && a33 > 0 && a12 < a11 && a13 < a11 && a23 < a22;
}

int Img_check_area(int h, int v) {
    const int64_t hh = h < 0 ? 0 : h, vv = v < 0 ? 0 : v;
    return hh * vv <= IMG_AREA_MAX;
}

int Img_check_if_interlaced(const IMG_INF* inf) { return inf->smpl_mtrx[0][4] != 0; }

int Img_check_sampling(const IMG_INF* inf) {
    if (!Img_check_comp_exists(inf, 0)) {
        fprintf(stderr, "\nFirst component doesn't exist in %s, can't go further\n", inf->fname);
        return 0;
    }
    for (int c = 0; c < 3; ++c) {
        if (!Img_check_comp_exists(inf, c)) continue;
        if (!Img_check_hermite(inf->smpl_mtrx[c])) {
            fprintf(stderr, "\nSampling matrix of component %10.10s of file %s", inf->comp_nam[c],
                    inf->fname);
            fputs(" is not in Hermite form.\nIn Hermite up form, we must satisfy a_ii > 0,\n"
                  " 0 <= a_ij < a_ii for all i and j>i, and a_ij=0 for all i and j<i.\n",
                  stderr);
            return 0;
        }
        if (inf->smpl_mtrx[c][5] != inf->smpl_mtrx[0][5]) {
            fprintf(stderr, "\nTime sampling period must be same for all components in file %s\n",
                    inf->fname);
            return 0;
        }
        if (inf->smpl_ofst[c][2] != inf->smpl_ofst[0][2]) {
            fprintf(stderr, "\nTime offset must be same for all components in file %s\n",
                    inf->fname);
            return 0;
        }
    }
    return 1;
}

int Img_compatible_IMG_INF(const IMG_INF* a, const IMG_INF* b, int quiet) {
    const bool say = (quiet & 1) == 0;
    int ok = 1;
    for (int d = 0; d < 3; ++d) {
        if (a->size[d] == b->size[d]) continue;
        if (say) printf("Warning! Images don't have same size in dimension %d\n", d);
        ok = 0;
    }
    /* Names compare over all ten characters: no spelling counts as equivalent. */
    for (int c = 0; c < 3; ++c) {
        if (memcmp(a->comp_nam[c], b->comp_nam[c], IMG_COMP_NAM_LEN) == 0) continue;
        if (say) printf("Warning! Images don't have same component name %d\n", c);
        ok = 0;
    }
    for (int c = 0; c < 3; ++c) {
        if (!Img_check_comp_exists(a, c)) continue;
        for (int k = 0; k < 6; ++k) {
            if (a->smpl_mtrx[c][k] == b->smpl_mtrx[c][k]) continue;
            if (say) printf("Warning! Images don't have same sampling matrix\n");
            ok = 0;
        }
    }
    if (a->fdtype != b->fdtype) {
        if (say) printf("Warning! Images don't have same file data type (dtype)\n");
        ok = 0;
    }
    if (a->fdtype == IMG_FDT_OCTET || a->fdtype == IMG_FDT_ENTIER_2) {
        for (int c = 0; c < 3; ++c) {
            if (a->dsign[c] == b->dsign[c]) continue;
            if (say)
                printf("Warning! Images don't have same signed/unsigned flag for component %d\n",
                       c);
            ok = 0;
        }
    }
    if ((a->fdtype == IMG_FDT_ENTIER_2 || a->fdtype == IMG_FDT_REEL) &&
        a->file_org != b->file_org) {
        if (say) printf("Warning! Images don't have same file memory organization (file_org)\n");
        return 0;
    }
    return ok;
}
