// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_CONSOLE_CONSOLE_H
#define TOOL_CONSOLE_CONSOLE_H

#include <vision/toolkit/note.h>

#include <chrono>
#include <cstddef>
#include <set>
#include <string>

namespace tool {

/// Everything the program tells its user: results on stdout; notes, errors and progress on stderr. Progress
/// is one line that is drawn anew, and only on a terminal.
class Console
{
public:
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Prints a line of the result. Here and in all messages, what a terminal would obey is shown escaped.
    void result(const std::string& line);

    /// Prints JSON as it is, which escapes for itself.
    void json(const std::string& text);

    /// Tells what the user should know although all is well, with the option that is the way out. The same
    /// text is told once only.
    void note(const std::string& text);
    void note(const vision::toolkit::Note& note);
    void notes(const vision::toolkit::Notes& notes);

    void error(const std::string& text);
    void error(const vision::toolkit::Note& note);

    /// Starts the progress of a task of so many steps; with its last step it disappears.
    void startProgress(const std::string& task, std::size_t total);
    void advanceProgress();

    /// Whether all results reached stdout; false for a full disk or a closed pipe.
    bool flush();

private:
    void tell(const char* kind, const std::string& text);
    void showProgress(); ///< after it changed
    void drawProgress();
    void eraseProgress();

    const bool _isTerminal;
    std::set<std::string> _told;
    std::string _progress; ///< the line that is drawn; empty for none
    std::string _task;
    std::size_t _done = 0;
    std::size_t _total = 0;
    std::chrono::steady_clock::time_point _start;
};

} // namespace tool

#endif
