/* Life of an IMG_INF record: allocation, defaults, copy, print-out. */
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vids/vids.h"
#include "vids/vids_private.h"

namespace {

const int kCommentMin = 80;   /* the comment buffer never holds less */

const char* const kFdtypeKeyword[6] = {"OCTET", "ENTIER_2", "REEL", "1_BIT", "2_BITS", "4_BITS"};
const char* const kOrgName[3] = {"RIGHT TO LEFT (as for DEC)", "LEFT TO RIGHT (as for SUN)",
                                 "UNKNOWN"};

void ClearRuntime(IMG_INF* inf) {
    inf->io_buf = nullptr;
    inf->stream = nullptr;
    inf->pic_size = 0;
    inf->access_flags = 0;
    inf->buf_size = 0;
}

}  // namespace

const char* Img_fdtype_keyword(int fdtype) {
    return fdtype >= 0 && fdtype <= 5 ? kFdtypeKeyword[fdtype] : "?";
}

const char* Img_org_suffix(int fdtype, int file_org) {
    if (fdtype != IMG_FDT_ENTIER_2 && fdtype != IMG_FDT_REEL) return "";
    if (file_org == IMG_ORG_DEC) return "";
    return file_org == IMG_ORG_SUN ? "_SUN" : "_UNKNOWN";
}

const char* Img_org_name(int org) {
    return org >= 0 && org <= 2 ? kOrgName[org] : kOrgName[2];
}

void Img_fatal(const char* msg) {
    fputs(msg, stderr);
    exit(1);
}

void Img_refuse_if_open(const IMG_INF* inf, const char* func) {
    if (!inf->opened) return;
    fprintf(stderr, "\nError in %s", func);
    Img_fatal("\nCan't set any field while the image is opened\n");
}

int Img_INF_alloc(IMG_INF** inf) {
    *inf = static_cast<IMG_INF*>(calloc(1, sizeof(IMG_INF)));
    char* comments = static_cast<char*>(calloc(kCommentMin, 1));
    if (*inf == nullptr || comments == nullptr) {
        fputs("\nMemory allocation failed in 'Img_INF_alloc'\n", stderr);
        free(*inf);
        free(comments);
        *inf = nullptr;
        return 0;
    }
    (*inf)->comments = comments;
    (*inf)->opened = 0;
    Img_set_default(*inf);
    return 1;
}

void Img_INF_free(IMG_INF* inf) {
    if (inf == nullptr) return;
    /* The record owns its stream and buffer: nothing else can release them. */
    if (inf->stream != nullptr) fclose(inf->stream);
    free(inf->io_buf);
    free(inf->comments);
    free(inf);
}

void Img_INF_copy(IMG_INF* dst, const IMG_INF* src) {
    if (dst == src) return;
    if (dst->stream != nullptr || dst->io_buf != nullptr || dst->opened) Closevids(dst, 0);
    char* own_comments = dst->comments;
    memcpy(dst, src, sizeof(IMG_INF));
    dst->comments = own_comments;
    ClearRuntime(dst);
    dst->opened = 0;
    Img_set_comments(dst, src->comments != nullptr ? src->comments : "");
}

void Img_set_default(IMG_INF* inf) {
    Img_refuse_if_open(inf, "Img_set_default");
    inf->mach_org = static_cast<unsigned char>(get_memory_organization());
    Img_set_sizes(inf, 256, 256, 1);
    Img_set_freqs(inf, 512.0f, 256.0f, 59.94f);
    Img_set_comp_names(inf, IMG_FMT_YC_422);
    Img_set_dsigns(inf, 0, 1, 1);
    Img_set_file_org(inf, IMG_ORG_DEC);
    Img_set_smpl_matrices(inf, IMG_FMT_YC_422, 1);
    for (int c = 0; c < 3; ++c) Img_set_smpl_ofst(inf, c, 0, 0, 0);
    Img_set_fdtype(inf, IMG_FDT_OCTET);
    Img_set_scale_fctr(inf, 1);
    Img_set_num_var(inf, 0);
    Img_set_comments(inf, "");
    for (int i = 0; i < IMG_NB_VAR_MAX; ++i) {
        char name[IMG_VAR_NAME_LEN];
        snprintf(name, sizeof name, "Var%d", i);
        Img_set_variables(inf, i, "");
        Img_set_var_names(inf, i, name);
    }
    ClearRuntime(inf);
}

void Img_INF_print(const IMG_INF* inf) {
    printf("File name     : %s\n", inf->fname);
    printf("size (h,v,t)  : %d x %d x %d\n", inf->size[0], inf->size[1], inf->size[2]);
    for (int c = 0; c < 3; ++c) {
        const int* m = inf->smpl_mtrx[c];
        const int* o = inf->smpl_ofst[c];
        printf("component [%d] : %-10.10s\n", c, inf->comp_nam[c]);
        printf("smpl_mtrx     : (%d,%d,%d,%d,%d,%d)\n", m[0], m[1], m[2], m[3], m[4], m[5]);
        printf("smpl_ofst     : (%d,%d,%d)\n", o[0], o[1], o[2]);
    }
    printf("frequency     : horiz = %-10.4f,", inf->freq[0]);
    printf(" vert = %-10.4f, temp = %-10.4f\n", inf->freq[1], inf->freq[2]);
    printf("data type     : %s%s\n", Img_fdtype_keyword(inf->fdtype),
           Img_org_suffix(inf->fdtype, inf->file_org));
    printf("signed        : comp 1 = %-2s,  comp 2 = %-2s,  comp 3 = %-2s\n",
           inf->dsign[0] ? "O" : "N", inf->dsign[1] ? "O" : "N", inf->dsign[2] ? "O" : "N");
    printf("scale_fctr    : %-4d\n", inf->scale_fctr);
    printf("\nVariables :\n");
    for (int i = 0; i < inf->num_var && i <= IMG_NB_VAR_MAX; ++i)
        printf("%.*s =%.*s\n", IMG_VAR_NAME_LEN, inf->var_names[i], IMG_VAR_LEN,
               inf->variables[i]);
    printf("\nComments  :\n%s\n\n", inf->comments != nullptr ? inf->comments : "");
}
