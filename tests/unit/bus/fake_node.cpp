#include "fake_node.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

namespace
{

FakeNode* g_node = nullptr;

}

FakeNode::FakeNode(Answer answer) : answer_(std::move(answer)), outer_(g_node)
{
    g_node = this;
}

FakeNode::~FakeNode()
{
    g_node = outer_;
}

int fail(int error)
{
    errno = error;
    return -1;
}

int answerIoctl(unsigned long request, void* argument)
{
    g_node->requests.push_back(request);
    return g_node->answer_(request, argument);
}

// Takes the place of the C library's.
extern "C" int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (g_node)
        return answerIoctl(request, argument);
    return static_cast<int>(::syscall(SYS_ioctl, fd, request, argument));
}
