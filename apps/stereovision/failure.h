#ifndef TOOL_FAILURE_H
#define TOOL_FAILURE_H

#include <exception>
#include <stdexcept>
#include <string>

namespace tool {

/// Something the user can mend. The text names the file or option, says what is wrong and what to do.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One line for the user: OpenCV's own texts are cut down to what went wrong.
std::string describe(const std::exception& error);

} // namespace tool

#endif
