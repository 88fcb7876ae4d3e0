// A consumer's way from GCInitLib over a short stream to GCCloseLib, for tests that want every call
// on it to fail.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "producer.h"

class Journey
{
public:
    virtual ~Journey() = default;

protected:
    /// The whole way. It ends early where a call fails whose result is needed.
    void travel();

    /// Makes a call, however often; false if the way down ends here.
    virtual bool make(const char* name, const std::function<GC_ERROR()>& call) = 0;
    /// Between the camera's start and its stop.
    virtual void takeFrames() = 0;

    bool write(uint64_t address, uint32_t value);

    TL_HANDLE system_ = nullptr;
    IF_HANDLE interface_ = nullptr;
    DEV_HANDLE device_ = nullptr;
    PORT_HANDLE port_ = nullptr;
    DS_HANDLE stream_ = nullptr;
    EVENT_HANDLE event_ = nullptr;
    std::vector<BUFFER_HANDLE> buffers_; ///< the last one in memory_
    std::vector<uint8_t> memory_;

private:
    bool open();
    bool look();
    bool prepare();
    bool announce(uint32_t width);
    void stream();

    char id_[256] = {};
};

/// For members of a journey: make() with the producer's function of that name.
#define MAKE(name, arguments) make(#name, [&] { return producer().name arguments; })
