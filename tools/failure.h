// What the user is told when something didn't work.
#pragma once

#include <stdexcept>

namespace zevo_tool
{

/// Something failed while running; one line of text, ends the program with 1.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The user has asked for something that can't be asked for; ends the program with 2.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace zevo_tool
