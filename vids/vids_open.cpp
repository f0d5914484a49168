/* Opening and closing sequences. */
#include <cstdio>
#include <cstdlib>

#include "vids/vids.h"
#include "vids/vids_private.h"

int Closevids(IMG_INF* inf, int /*flags*/) {
    if (inf == nullptr) return 0;
    if (inf->stream != nullptr) fclose(inf->stream);
    free(inf->io_buf);
    inf->stream = nullptr;
    inf->io_buf = nullptr;
    inf->pic_size = 0;
    inf->access_flags = 0;
    inf->buf_size = 0;
    inf->opened = 0;
    return 0;
}
