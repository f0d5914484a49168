// Interrupt: SIGINT and SIGTERM end the run between two frame pairs instead of killing
// the process mid-write. A blocking read (standard input) is interrupted too and then
// fails; the caller asks Pending() before reporting that as a read error.
#ifndef DRIVER_INTERRUPT_H
#define DRIVER_INTERRUPT_H

namespace driver {

// Installs the handlers, and ignores SIGPIPE and SIGXFSZ so that a closed pipe or the
// file-size limit show as failed writes.
void CatchInterrupts();
// The signal received, or 0.
int Pending();
// "SIGINT" or "SIGTERM".
const char* SignalName(int sig);

}  // namespace driver

#endif
