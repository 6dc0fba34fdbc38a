// SPDX-License-Identifier: Apache-2.0
#include "console/console.h"

#include "console/printable.h"
#include "console/ways_out.h"

#include <fmt/format.h>

#include <cstdio>
#include <unistd.h>

namespace tool {

using vision::toolkit::Note;

Console::Console() : _isTerminal(isatty(STDERR_FILENO) == 1) {}

Console::~Console()
{
    eraseProgress();
}

void Console::result(const std::string& line)
{
    json(toPrintable(line));
}

void Console::json(const std::string& text)
{
    eraseProgress();
    std::printf("%s\n", text.c_str());
    std::fflush(stdout); // keeps the order when stdout and stderr meet in one place
    drawProgress();
}

void Console::note(const std::string& text)
{
    if (_told.insert(text).second) {
        tell("note", text);
    }
}

void Console::note(const Note& note)
{
    this->note(toText(note) + wayOut(note.code));
}

void Console::notes(const vision::toolkit::Notes& notes)
{
    for (const Note& one : notes) {
        note(one);
    }
}

void Console::error(const std::string& text)
{
    tell("error", text);
}

void Console::error(const Note& note)
{
    error(toText(note) + wayOut(note.code));
}

void Console::startProgress(const std::string& task, std::size_t total)
{
    _task = task;
    _done = 0;
    _total = total;
    _start = std::chrono::steady_clock::now();
    showProgress();
}

void Console::advanceProgress()
{
    ++_done;
    showProgress();
}

bool Console::flush()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

void Console::tell(const char* kind, const std::string& text)
{
    eraseProgress();
    std::fprintf(stderr, "stereovision: %s: %s\n", kind, toPrintable(text).c_str());
    drawProgress();
}

void Console::showProgress()
{
    eraseProgress();
    _progress.clear();
    if (_isTerminal && _done < _total) {
        _progress = _task + " " + std::to_string(_done) + "/" + std::to_string(_total);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - _start;
        if (_done > 0 && elapsed.count() > 0) {
            const double rate = static_cast<double>(_done) / elapsed.count();
            const double secondsLeft = static_cast<double>(_total - _done) / rate;
            _progress +=
                ", " + fmt::format("{:.1f}", rate) + "/s, " + fmt::format("{:.0f}", secondsLeft) + " s left";
        }
    }
    drawProgress();
}

void Console::drawProgress()
{
    if (!_progress.empty()) {
        std::fprintf(stderr, "%s", _progress.c_str());
    }
}

void Console::eraseProgress()
{
    if (!_progress.empty()) {
        std::fprintf(stderr, "\r\033[K"); // back to the first column, erase the line
    }
}

} // namespace tool
