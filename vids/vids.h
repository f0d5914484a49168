/* vids: reader and writer of vids sequences, a text description "<base>.des" beside a
 * headerless sample file "<base>.pic".
 *
 * Procedural API over an IMG_INF record passed by pointer. Allocate records with
 * Img_INF_alloc (the comment buffer must exist), fill them through Img_set_*, then
 * Openvids / Readvids / Writevids / Closevids. While a record is open every Img_set_*
 * ends the process (status 1); close it first. Messages go to standard error, prefixed
 * by the operation's name; Img_INF_print and the warnings of Img_compatible_IMG_INF go
 * to standard output. Faults called fatal below print their message and exit(1).
 *
 * File component order is 0, 1, 2; sizes and frequencies are indexed 0 horizontal,
 * 1 vertical, 2 temporal. Sample (i, j) of component c lies at index nb_h(c) * j + i
 * of a caller's buffer, rows packed without padding.
 */
#ifndef VIDS_VIDS_H
#define VIDS_VIDS_H

#include <cstdint>
#include <cstdio>

/* In-memory sample types (data_type of the transfer functions). */
#define IMG_BYTE 0   /* signed 8-bit */
#define IMG_INT_2 1  /* signed 16-bit */
#define IMG_REAL 2   /* 32-bit float */
#define IMG_UBYTE 3  /* unsigned 8-bit */
#define IMG_UINT_2 4 /* unsigned 16-bit */

/* Image formats, derived from the component names and sampling matrices. */
#define IMG_FMT_RGB 0
#define IMG_FMT_YC_422 1
#define IMG_FMT_MONO 2
#define IMG_FMT_YC_420 3
#define IMG_FMT_YIQ_SUB 4
#define IMG_FMT_NTSC 5
#define IMG_FMT_YC_444 6
#define IMG_FMT_YIQ 7
#define IMG_FMT_UNKNOWN 8

/* File data types (fdtype): keywords OCTET, ENTIER_2, REEL, 1_BIT, 2_BITS, 4_BITS. */
#define IMG_FDT_OCTET 0
#define IMG_FDT_ENTIER_2 1
#define IMG_FDT_REEL 2
#define IMG_FDT_1_BIT 3
#define IMG_FDT_2_BITS 4
#define IMG_FDT_4_BITS 5

/* Byte orders (file_org, mach_org). */
#define IMG_ORG_DEC 0     /* least significant byte first */
#define IMG_ORG_SUN 1     /* most significant byte first */
#define IMG_ORG_UNKNOWN 2

#define IMG_NB_VAR_MAX 20
#define IMG_FNAME_LEN 200
#define IMG_COMP_NAM_LEN 10
#define IMG_VAR_LEN 120
#define IMG_VAR_NAME_LEN 60
#define IMG_DES_PATH_LEN 400

/* Largest frame a sequence may have: size[0] x size[1] at most 2^26 samples (8192 x 8192;
 * 7680 x 4320 fits twice over). Openvids refuses a larger frame with a message, "new"
 * before anything is renamed or created, "old" when the description declares one, and no
 * record is ever filled with it. Up to this size every count, size and offset of the
 * library fits its type: samples of a plane in an int, bytes of a block and offsets
 * t * R in 64 bits. */
#define IMG_AREA_MAX (1 << 26)

struct IMG_INF {
    /* Description, written to and read from the .des file. */
    char fname[IMG_FNAME_LEN];                  /* sequence name, no extension, NUL-terminated */
    int size[3];                                /* grid extent: pixels, lines, time samples */
    float freq[3];                              /* sampling frequencies h, v, t */
    char comp_nam[3][IMG_COMP_NAM_LEN];         /* blank-padded, no NUL; all blank = absent */
    int smpl_mtrx[3][6];                        /* a11, a12, a22, a13, a23, a33 */
    int smpl_ofst[3][3];                        /* lattice offsets h, v, t */
    int fdtype;                                 /* IMG_FDT_* */
    int dsign[3];                               /* 1: samples of the component are signed */
    signed char file_org;                       /* IMG_ORG_* of 2- and 4-byte file samples */
    int scale_fctr;                             /* scale of 2-byte data */
    int num_var;                                /* user variables in use */
    /* One spare row: the variable accessors accept index IMG_NB_VAR_MAX. */
    char variables[IMG_NB_VAR_MAX + 1][IMG_VAR_LEN];
    char var_names[IMG_NB_VAR_MAX + 1][IMG_VAR_NAME_LEN];
    char* comments;                             /* owned, at least 80 bytes */

    /* Runtime state, set by Openvids and cleared by Closevids. */
    unsigned char* io_buf;                      /* owned, buf_size bytes, zero-filled at open */
    FILE* stream;                               /* .des while it is read or written, then .pic */
    int64_t pic_size;                           /* bytes of the data file */
    unsigned char access_flags;                 /* 8: readable, 4: writable */
    int64_t buf_size;                           /* I/O block size */
    unsigned char shuffle;                      /* byte-swap 2- and 4-byte samples */
    unsigned char mach_org;                     /* this machine's byte order */
    unsigned char opened;                       /* attached to an open sequence */
    char des_path[IMG_DES_PATH_LEN + 1];        /* for rewriting the description */
};

/* ---- Record life ---------------------------------------------------------------- */

/* 1 on success, 0 on allocation failure (message written, *inf set to NULL). */
int Img_INF_alloc(IMG_INF** inf);
/* Frees the comment buffer and the record; an I/O buffer or stream still attached is
 * released too. Accepts NULL. */
void Img_INF_free(IMG_INF* inf);
/* Copies src into dst; dst keeps its own comment buffer and is never open afterwards
 * (a sequence dst was attached to is closed first). */
void Img_INF_copy(IMG_INF* dst, const IMG_INF* src);
void Img_set_default(IMG_INF* inf);       /* fname is left unchanged */
void Img_INF_print(const IMG_INF* inf);   /* to standard output */

/* ---- Accessors ------------------------------------------------------------------ */
/* Setters exit(1) on an open record. Component indices 0..2, variable indices 0..20.
 * Bad indices are fatal in getters, reported (nothing stored) in setters. */

void Img_get_fname(const IMG_INF* inf, char* fname);   /* fname holds 200 chars */
void Img_set_fname(IMG_INF* inf, const char* fname);

int Img_get_size(const IMG_INF* inf, int comp_idx);     /* negative sizes read as 0 */
void Img_get_sizes(const IMG_INF* inf, int* h, int* v, int* t);
void Img_set_size(IMG_INF* inf, int comp_idx, int size);   /* size < 1 stores 0 */
void Img_set_sizes(IMG_INF* inf, int h, int v, int t);

float Img_get_freq(const IMG_INF* inf, int comp_idx);   /* negative reads as 0 */
void Img_get_freqs(const IMG_INF* inf, float* h, float* v, float* t);
void Img_set_freq(IMG_INF* inf, int comp_idx, float freq);  /* freq <= 0 stores 0 */
void Img_set_freqs(IMG_INF* inf, float h, float v, float t);

void Img_get_comp_nam(const IMG_INF* inf, int comp_idx, char* name);  /* 10 chars, no NUL */
void Img_set_comp_nam(IMG_INF* inf, int comp_idx, const char* name);
void Img_set_comp_names(IMG_INF* inf, int img_format);

void Img_get_smpl_mtrx(const IMG_INF* inf, int comp_idx, int* a11, int* a12, int* a22,
                       int* a13, int* a23, int* a33);
void Img_set_smpl_mtrx(IMG_INF* inf, int comp_idx, int a11, int a12, int a22, int a13,
                       int a23, int a33);
/* interlaced only when exactly 1; formats 0..4, 6, 7. */
void Img_set_smpl_matrices(IMG_INF* inf, int img_format, int interlaced);

void Img_get_smpl_ofst(const IMG_INF* inf, int comp_idx, int* h, int* v, int* t);
void Img_set_smpl_ofst(IMG_INF* inf, int comp_idx, int h, int v, int t);

int Img_get_fdtype(const IMG_INF* inf);
void Img_set_fdtype(IMG_INF* inf, int fdtype);

int Img_get_dsign(const IMG_INF* inf, int comp_idx);
void Img_get_dsigns(const IMG_INF* inf, int* s0, int* s1, int* s2);
void Img_set_dsign(IMG_INF* inf, int comp_idx, int flag);
void Img_set_dsigns(IMG_INF* inf, int s0, int s1, int s2);

int Img_get_scale_fctr(const IMG_INF* inf);
void Img_set_scale_fctr(IMG_INF* inf, int scale_fctr);  /* 1 or any even value */

int Img_get_num_var(const IMG_INF* inf);
void Img_set_num_var(IMG_INF* inf, int num_var);        /* 0..20 */
void Img_get_variables(const IMG_INF* inf, int Var_idx, char* value);   /* 120 chars */
void Img_set_variables(IMG_INF* inf, int Var_idx, const char* value);
void Img_get_var_names(const IMG_INF* inf, int Var_idx, char* name);    /* 60 chars */
void Img_set_var_names(IMG_INF* inf, int Var_idx, const char* name);

char* Img_get_comments(const IMG_INF* inf);             /* heap copy; caller frees */
void Img_set_comments(IMG_INF* inf, const char* comments);

int Img_get_file_org(const IMG_INF* inf);
void Img_set_file_org(IMG_INF* inf, int flag);  /* 0..2, or 3 for this machine's order */

int Img_get_sizeof_data_type(int data_type);    /* bytes of an in-memory type */

/* Samples of a component along one dimension: ceil(size / period); 0 (with a message
 * for a bad index or a period below 1) when there are none. */
int Img_get_nb_h(const IMG_INF* inf, int comp_idx);
int Img_get_nb_v(const IMG_INF* inf, int comp_idx);
int Img_get_nb_t(const IMG_INF* inf, int comp_idx);

int Img_get_format(const IMG_INF* inf);   /* IMG_FMT_*, from names and matrices */
int Img_get_comp(const IMG_INF* inf);     /* IMG_FMT_*, from the names only */

/* ---- Checks (1 true, 0 false) --------------------------------------------------- */

int Img_check_comp(const char* name, int n);
int Img_check_comp_exists(const IMG_INF* inf, int comp_idx);
int Img_check_hermite(const int smpl_mtrx[6]);
int Img_check_if_interlaced(const IMG_INF* inf);
/* 1 when a frame of h x v samples is within IMG_AREA_MAX (negative sizes count as 0). */
int Img_check_area(int h, int v);
int Img_check_sampling(const IMG_INF* inf);
/* 1 when b can stand for a; differences are announced on standard output unless bit 0
 * of quiet is set. */
int Img_compatible_IMG_INF(const IMG_INF* a, const IMG_INF* b, int quiet);

/* ---- Description file ----------------------------------------------------------- */

/* Writes the description of inf to inf->stream. 0, or 1 when the stream reports a
 * write error. */
int put_info(IMG_INF* inf, int flags);
/* Reads a description from inf->stream (at its start) into inf. 0, or 1 after a message
 * "get_info: ...". Besides the format's own failures, a line 4 to 12 that lacks the
 * "=", "(" or "," searched for, or whose value is not a number, fails with
 * "get_info: Bad field on line %d\n", a description that ends before its line 12
 * or its last variable line fails with "get_info: Unexpected end of file on line %d\n"
 * (variable lines count on from 13), a frame beyond IMG_AREA_MAX with
 * "get_info: Frame size %d x %d exceeds the limit of %d samples\n" (the sizes are then
 * not stored), and a read error of the stream after perror("get_info"). */
int get_info(IMG_INF* inf, int flags);
int Img_get_used_length(const char* text, int n);   /* length without trailing blanks */

/* ---- Open and close ------------------------------------------------------------- */

/* type: "new", "old", "old/new" or "new/old". flags: 1 quiet warnings, 2 no severe
 * warnings, 4 no opening line, 8 print the record, 0x100 verbose, 0x200 read the
 * description only, 0x400 data file ".dspl", 0x800 rewrite a compatible description.
 * 0 opened, 1 failed (nothing left open), 2 created and extended to full length.
 * Creating refuses a frame beyond IMG_AREA_MAX before touching any file, and fails
 * rather than overwrite an existing file that it cannot rename to its backup ("~"). */
int Openvids(const char* name, IMG_INF* inf, const char* type, int flags);
/* 0, or 1 after perror("Closevids") when closing the data file failed (samples still
 * buffered are then lost). The record is closed either way; harmless on a closed one. */
int Closevids(IMG_INF* inf, int flags);

int Valid_machine(void);
int get_memory_organization(void);        /* IMG_ORG_* of this machine */
/* Block of each component: its samples' bits rounded up to whole 512-byte units, in
 * exact integers, so a block always holds its samples. */
void cal_physize(const IMG_INF* inf, int64_t blk_size[3], int64_t nb_smpl[3],
                 int* item_size, int* nb_bits);

/* ---- Names ---------------------------------------------------------------------- */

char* strpext(char* path);                /* cuts the extension in place */
/* Expands "~", "~user", "$NAME" and "%NAME" into a buffer of the calling thread, valid
 * until its next call in that thread (so two threads may open sequences at once). A
 * reference with no value (unset variable, unknown user, no HOME) stays as written. */
char* expenv(const char* path);
/* Start of the first reference in text at or after from, or -1; *len its length. */
int fndenv(const char* text, int from, int* len);
/* Value of a reference ("~", "~user", "$NAME", "%NAME"), or NULL when it has none; a
 * home directory is kept in a buffer of the calling thread until its next call. */
const char* mygetenv(const char* ref);
/* Replaces len chars at position at of buf (capacity cap) by value: 0, or 1 when the
 * result would not fit (buf unchanged). */
int strrpl(char* buf, int cap, int at, int len, const char* value);
int fbakup(const char* path);   /* renames path to path~: 0, or 1 after perror("fbakup") */

/* ---- Samples -------------------------------------------------------------------- */

/* Natural in-memory type of file type fdtype for a component of the given sign;
 * *nbits receives the bits per file sample. Fatal for an unknown fdtype. */
int mydtype(int fdtype, int sign, int* nbits);
int sizeofdat(int data_type);      /* bytes of an in-memory type; fatal above 4 */
int sizeofdat_f(int fdtype);       /* bytes of a file item; fatal above 7 */
void Shuffle_int2(void* p, int64_t n);   /* swaps the bytes of n 16-bit items */
void Shuffle_real(void* p, int64_t n);   /* reverses the bytes of n 32-bit items */

/* Transfer flags: unless one of 1, 2, 4 is set, clipped samples are reported; 16 rounds
 * to nearest instead of truncating; 32 shifts by half the unsigned range between signed
 * and unsigned samples; 0x100 or 8 announce growth; 0x1000 lets Writevids extend the
 * temporal size; 0x2000 skips the range check of Writevids.
 * use[c] non-zero asks for component c; each buffer holds nb_h(c) x nb_v(c) samples of
 * data_type (for a bit file type read or written as IMG_UBYTE: the packed bytes).
 * 0 done, 1 refused or failed after a message: a failed seek, read, write or flush
 * (perror "myrdvids" or "mywrvids"), a data file that ends inside the time sample
 * ("%s: File %s too short: field %d, component %ld incomplete\n"), or with 0x1000 a
 * description that could not be rewritten. With 0x1000 the description is rewritten
 * only once the samples are written, so a failed write leaves the old temporal size. */
int Readvids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
             IMG_INF* inf, int flags);
int Writevids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
              IMG_INF* inf, int flags);
/* The same for a window per component: buffer c holds width[c] x height[c] samples,
 * rows packed, whose first is at column hstart[c], row vstart[c] of the plane. A window
 * that does not lie inside the plane is refused with
 * "%s: Window of component %ld outside the plane of file %s\n"; for bit file types
 * hstart[c] and width[c] must be multiples of the samples per byte, else
 * "%s: Window of component %ld must start and end on a multiple of %d pels\n for that
 * BIT file data type\n". */
int Readwinvids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
                IMG_INF* inf, const int width[3], const int height[3], const int hstart[3],
                const int vstart[3], int flags);
int Writewinvids(int t, const int use[3], int data_type, void* buf0, void* buf1, void* buf2,
                 IMG_INF* inf, const int width[3], const int height[3], const int hstart[3],
                 const int vstart[3], int flags);

/* ---- Sample conversion ---------------------------------------------------------- */
/* A routine converts n samples from *src to *dst and advances both pointers past what
 * it handled. Values keep their nominal 8-bit scale: 16-bit samples are 8-bit ones times
 * scale1, reals are not scaled (16 -> 16 multiplies by scale1 / scale2 when they
 * differ). nbits_src below 8: the source is packed (unpacked on the fly), nbits_dst
 * below 8: the target is packed, 8 / nbits samples a byte, first in the low bits.
 * order: 1 swaps the 16/32-bit source before converting, 2 the 16/32-bit target after.
 * Each sample clipped at the low or high end of the target adds 1 to *under or *over. */
typedef void (*IMG_CONV)(void** dst, void** src, int64_t n, int scale1, int scale2,
                         int nbits_src, int nbits_dst, int flags, int order, double* under,
                         double* over);

#define IMG_CONV_DECL(name)                                                            \
    void name(void** dst, void** src, int64_t n, int scale1, int scale2, int nbits_src, \
              int nbits_dst, int flags, int order, double* under, double* over)
IMG_CONV_DECL(btob);   IMG_CONV_DECL(btoi2);   IMG_CONV_DECL(btor);
IMG_CONV_DECL(btoub);  IMG_CONV_DECL(btoui2);
IMG_CONV_DECL(i2tob);  IMG_CONV_DECL(i2toi2);  IMG_CONV_DECL(i2tor);
IMG_CONV_DECL(i2toub); IMG_CONV_DECL(i2toui2);
IMG_CONV_DECL(rtob);   IMG_CONV_DECL(rtoi2);   IMG_CONV_DECL(rtor);
IMG_CONV_DECL(rtoub);  IMG_CONV_DECL(rtoui2);
IMG_CONV_DECL(ubtob);  IMG_CONV_DECL(ubtoi2);  IMG_CONV_DECL(ubtor);
IMG_CONV_DECL(ubtoub); IMG_CONV_DECL(ubtoui2);
IMG_CONV_DECL(ui2tob); IMG_CONV_DECL(ui2toi2); IMG_CONV_DECL(ui2tor);
IMG_CONV_DECL(ui2toub); IMG_CONV_DECL(ui2toui2);
#undef IMG_CONV_DECL

/* [source type][target type], indexed by the IMG_* codes. */
extern const IMG_CONV Img_conv_table[5][5];

#endif
