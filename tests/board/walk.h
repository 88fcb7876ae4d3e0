// One whole run of a consumer, written out so that every step may fail and the rest still happens.
#pragma once

#include <cstdint>
#include <string>

#include "producer.h"

/// From GCInitLib over a short stream to GCCloseLib. Fails the running test for a failure that has
/// no code of the interface or no words.
class Walk
{
public:
    /// How long a frame may take.
    explicit Walk(uint64_t timeoutMs = 120000) : timeoutMs_(timeoutMs) {}

    /// The first failing step with its code and words, or an empty text.
    std::string operator()();

    uint64_t frames() const { return frames_; }
    uint64_t incomplete() const { return incomplete_; }
    /// By the frame numbers.
    uint64_t missing() const { return lastId_ - goodFrames_; }

    static constexpr uint64_t kFrames = 4;

private:
    bool step(const char* name, GC_ERROR result);
    bool find();
    bool open();
    bool write(uint64_t address, uint32_t value);
    void stream();
    bool prepare();
    void take();
    void look(BUFFER_HANDLE buffer);

    uint64_t timeoutMs_;
    TL_HANDLE system_ = nullptr;
    IF_HANDLE interface_ = nullptr;
    DEV_HANDLE device_ = nullptr;
    PORT_HANDLE port_ = nullptr;
    DS_HANDLE stream_ = nullptr;
    EVENT_HANDLE event_ = nullptr;
    char id_[256] = {};
    uint32_t width_ = 0;
    uint64_t frames_ = 0;
    uint64_t goodFrames_ = 0;
    uint64_t incomplete_ = 0;
    uint64_t lastId_ = 0;
    std::string failure_;
};
