#pragma once

#include <QString>

// Files and folders that SIGINT or SIGTERM removes before the process ends, so
// that an interrupted build or merge leaves nothing half-written behind: the
// temporary database beside the output, SQLite's journal beside it, the folder
// in which a merge rebuilds the inputs of the build. The signal handler may only
// call async-signal-safe functions, so the paths are kept in fixed buffers.
namespace InterruptCleanup {

// Makes SIGINT and SIGTERM remove every path registered at that moment, then
// end the process by the same signal. For the command-line tool.
void install();

// Registers a path for as long as the object lives. The handler unlinks every
// registered file first and then removes the registered folders, inner ones
// first, which are empty by then when what they hold was registered as well.
class Guard
{
public:
    explicit Guard(const QString &path);
    ~Guard();
    Guard(const Guard &) = delete;
    Guard &operator=(const Guard &) = delete;

private:
    int m_slot = -1;
};

} // namespace InterruptCleanup
