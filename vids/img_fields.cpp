/* Accessors of the sample description and the free fields: file data type, signs,
 * scale factor, byte order, user variables and comments. */
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vids/vids.h"
#include "vids/vids_private.h"

namespace {

/* Message for a variable index outside 0..IMG_NB_VAR_MAX; true when it was bad. */
bool BadVarIdx(int idx, const char* func) {
    if (idx < 0)
        fputs("\nVar_idx must be greater than zero in ", stderr);
    else if (idx > IMG_NB_VAR_MAX)
        fputs("\nVar_idx must be no larger than IMG_NB_VAR_MAX in ", stderr);
    else
        return false;
    fprintf(stderr, "'%s'\n", func);
    return true;
}

/* Bounded copy that always ends with a NUL in the last place. */
void CopyField(char* dst, const char* src, size_t len) {
    strncpy(dst, src != nullptr ? src : "", len);
    dst[len - 1] = '\0';
}

}  // namespace

int Img_get_fdtype(const IMG_INF* inf) { return inf->fdtype; }

void Img_set_fdtype(IMG_INF* inf, int fdtype) {
    Img_refuse_if_open(inf, "Img_set_fdtype");
    if (fdtype >= IMG_FDT_OCTET && fdtype <= IMG_FDT_4_BITS) {
        inf->fdtype = fdtype;
    } else if (fdtype == 6 || fdtype == 7) {
        fputs("\nBad dtype in 'Img_set_fdtype'. It must be a non signed type.\n", stderr);
        fputs("Then you set the sign with 'Img_set_dsign'.\n", stderr);
    } else {
        fputs("\nBad dtype in 'Img_set_fdtype'\n", stderr);
    }
}

int Img_get_dsign(const IMG_INF* inf, int comp_idx) {
    if (comp_idx < 0 || comp_idx > 2) Img_fatal("\nBad comp_idx in 'Img_get_dsign'\n");
    return inf->dsign[comp_idx];
}

void Img_get_dsigns(const IMG_INF* inf, int* s0, int* s1, int* s2) {
    *s0 = inf->dsign[0];
    *s1 = inf->dsign[1];
    *s2 = inf->dsign[2];
}

void Img_set_dsign(IMG_INF* inf, int comp_idx, int flag) {
    Img_refuse_if_open(inf, "Img_set_dsign");
    if (comp_idx < 0 || comp_idx > 2) {
        fputs("\nBad comp_idx in 'Img_set_dsign'\n", stderr);
        return;
    }
    inf->dsign[comp_idx] = flag != 0;
}

void Img_set_dsigns(IMG_INF* inf, int s0, int s1, int s2) {
    Img_refuse_if_open(inf, "Img_set_dsigns");
    inf->dsign[0] = s0 != 0;
    inf->dsign[1] = s1 != 0;
    inf->dsign[2] = s2 != 0;
}

int Img_get_scale_fctr(const IMG_INF* inf) { return inf->scale_fctr; }

void Img_set_scale_fctr(IMG_INF* inf, int scale_fctr) {
    Img_refuse_if_open(inf, "Img_set_scale_fctr");
    /* Only oddness is tested: any even value passes, looser than the message says. */
    if (scale_fctr != 1 && scale_fctr % 2 != 0) {
        fputs("\nScale_fctr must be 1 or a power of 2 in ", stderr);
        fputs("'Img_set_scale_fctr'\n", stderr);
        return;
    }
    inf->scale_fctr = scale_fctr;
}

int Img_get_num_var(const IMG_INF* inf) { return inf->num_var; }

void Img_set_num_var(IMG_INF* inf, int num_var) {
    Img_refuse_if_open(inf, "Img_set_num_var");
    if (num_var < 0)
        fputs("\nNum_var must be greater than zero in ", stderr);
    else if (num_var > IMG_NB_VAR_MAX)
        fputs("\nNum_var must be no larger than IMG_NB_VAR_MAX in ", stderr);
    else {
        inf->num_var = num_var;
        return;
    }
    fputs("'Img_set_num_var'\n", stderr);
}

void Img_get_variables(const IMG_INF* inf, int Var_idx, char* value) {
    if (BadVarIdx(Var_idx, "Img_get_variables")) Img_fatal("");
    strncpy(value, inf->variables[Var_idx], IMG_VAR_LEN);
}

void Img_set_variables(IMG_INF* inf, int Var_idx, const char* value) {
    Img_refuse_if_open(inf, "Img_set_variables");
    if (BadVarIdx(Var_idx, "Img_set_variables")) return;
    CopyField(inf->variables[Var_idx], value, IMG_VAR_LEN);
}

void Img_get_var_names(const IMG_INF* inf, int Var_idx, char* name) {
    if (BadVarIdx(Var_idx, "Img_get_var_names")) Img_fatal("");
    strncpy(name, inf->var_names[Var_idx], IMG_VAR_NAME_LEN);
}

void Img_set_var_names(IMG_INF* inf, int Var_idx, const char* name) {
    Img_refuse_if_open(inf, "Img_set_var_names");
    if (BadVarIdx(Var_idx, "Img_set_var_names")) return;
    CopyField(inf->var_names[Var_idx], name, IMG_VAR_NAME_LEN);
}

char* Img_get_comments(const IMG_INF* inf) {
    const char* text = inf->comments != nullptr ? inf->comments : "";
    char* copy = static_cast<char*>(malloc(strlen(text) + 1));
    if (copy == nullptr) Img_fatal("Error in Img_get_comments : Memory alloc error for comments\n");
    strcpy(copy, text);
    return copy;
}

void Img_set_comments(IMG_INF* inf, const char* comments) {
    Img_refuse_if_open(inf, "Img_set_comments");
    if (comments == nullptr) comments = "";
    const size_t len = strlen(comments);
    /* The buffer always holds at least 80 bytes; a longer text gets one of its size. */
    if (len > 79 || inf->comments == nullptr) {
        char* buf = static_cast<char*>(malloc(len > 79 ? len + 1 : 80));
        if (buf == nullptr)
            Img_fatal("Error in Img_set_comments : Memory alloc error for comments\n");
        memcpy(buf, comments, len + 1);   /* before the free: the text may be our own */
        free(inf->comments);
        inf->comments = buf;
        return;
    }
    memmove(inf->comments, comments, len + 1);
}

int Img_get_file_org(const IMG_INF* inf) { return inf->file_org; }

void Img_set_file_org(IMG_INF* inf, int flag) {
    Img_refuse_if_open(inf, "Img_set_file_org");
    const signed char org = static_cast<signed char>(flag);
    if (org == 3)
        inf->file_org = static_cast<signed char>(get_memory_organization());
    else if (org >= 0 && org <= 2)
        inf->file_org = org;
    else
        Img_fatal("Error in Img_set_file_org : Bad Memory organization flag\n");
}

int Img_get_sizeof_data_type(int data_type) {
    if (data_type > IMG_UINT_2)
        Img_fatal("Img_get_sizeof_data_type: Requested data_type invalid\n");
    if (data_type == IMG_REAL) return 4;
    if (data_type == IMG_INT_2 || data_type == IMG_UINT_2) return 2;
    return 1;
}
