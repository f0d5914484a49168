// gme: global motion estimation and compensation of a vids sequence.
#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s INPUT OUTPUT\n", argc > 0 ? argv[0] : "gme");
        return 2;
    }
    return 0;
}
