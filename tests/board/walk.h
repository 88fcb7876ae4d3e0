// One whole run of a consumer, of which every step may fail and the rest still happens.
#pragma once

#include <string>

#include "journey.h"

/// Fails the running test for a failure that has no code of the interface or no words.
class Walk : private Journey
{
public:
    /// How long a frame may take.
    explicit Walk(uint64_t timeoutMs = 120000) : timeoutMs_(timeoutMs) {}

    /// The first failing step with its code and words, or an empty text.
    std::string operator()();

    uint64_t frames() const { return frames_; }
    uint64_t incomplete() const { return incomplete_; }
    /// By the frame numbers.
    uint64_t missing() const { return lastId_ - (frames_ - incomplete_); }

    static constexpr uint64_t kFrames = 4;

private:
    bool make(const char* name, const std::function<GC_ERROR()>& call) override;
    void takeFrames() override;
    void look(BUFFER_HANDLE buffer);

    uint64_t timeoutMs_;
    uint64_t frames_ = 0;
    uint64_t incomplete_ = 0;
    uint64_t lastId_ = 0;
    std::string failure_;
};
