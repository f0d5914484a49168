/* Helpers shared by the vids sources; not part of the API. */
#ifndef VIDS_VIDS_PRIVATE_H
#define VIDS_VIDS_PRIVATE_H

#include "vids/vids.h"

/* Keyword of a file data type as written in descriptions ("?" outside 0..5). */
const char* Img_fdtype_keyword(int fdtype);
/* Byte-order suffix of line 09: "", "_SUN" or "_UNKNOWN". */
const char* Img_org_suffix(int fdtype, int file_org);
/* Name of a memory organisation ("UNKNOWN" outside 0..1). */
const char* Img_org_name(int org);

/* Ends the process when inf is open: every setter starts with this. */
void Img_refuse_if_open(const IMG_INF* inf, const char* func);

/* Prints msg on standard error and exits with status 1. */
[[noreturn]] void Img_fatal(const char* msg);

#endif
