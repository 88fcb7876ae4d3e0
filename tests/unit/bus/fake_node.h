// The ioctl that this test program answers itself: a camera node of one or the other request form.
#pragma once

#include <functional>
#include <vector>

/// While it lives, ioctl on any descriptor runs the given function instead of the system call,
/// or instead of the one before it.
class FakeNode final
{
public:
    using Answer = std::function<int(unsigned long request, void* argument)>;

    explicit FakeNode(Answer answer);
    FakeNode(const FakeNode&) = delete;
    FakeNode& operator=(const FakeNode&) = delete;
    ~FakeNode();

    std::vector<unsigned long> requests;

private:
    friend int answerIoctl(unsigned long request, void* argument);

    Answer answer_;
    FakeNode* outer_;
};

/// For an Answer: sets errno and gives -1.
int fail(int error);
