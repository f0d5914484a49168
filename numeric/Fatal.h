// Fatal: what the libraries do on a fault they call fatal (the SVD not converging, memory
// running out). By default they print their report on standard output and end the
// process with status 1, as the command-line tool documents. A program that embeds them
// asks, for the calling thread only, for a FatalError exception instead: then nothing is
// printed and the process lives on. Objects involved in the failed call are left in a
// valid but unspecified state.
#ifndef NUMERIC_FATAL_H
#define NUMERIC_FATAL_H

#include <stdexcept>
#include <string>

namespace numeric {

class FatalError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// While an object of this class lives, fatal faults on its thread throw FatalError.
// Scopes nest; each restores what was in force before it.
class ThrowOnFatal {
public:
    ThrowOnFatal();
    ~ThrowOnFatal();
    ThrowOnFatal(const ThrowOnFatal&) = delete;
    ThrowOnFatal& operator=(const ThrowOnFatal&) = delete;

private:
    bool saved;
};

// True when the calling thread asked for exceptions.
bool FatalThrows();

// Every fatal site starts with this: throws FatalError(what) when the thread asked for
// exceptions, and returns otherwise (the site then prints its report and exits).
void ThrowIfAsked(const std::string& what);

}  // namespace numeric

#endif
