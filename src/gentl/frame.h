// What every exported function does around its one call into the modules.
#pragma once

#include <exception>
#include <stdexcept>
#include <utility>

#include <gentl/gentl.h>

#include "base/last_error.h"
#include "gentl/library_state.h"
#include "registers/space/cregister_map.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

/// The frame of one call: entry trace, checks in order, the operation with everything that it
/// throws caught, last error, exit trace. The first failed check decides and the rest is left
/// out. An exported function makes one on its stack and returns what Run or its kin give.
class Frame final
{
public:
    explicit Frame(const char* name) : name_(name) {}
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    ~Frame();

    /// Fails the call with a code that is stored as the thread's last error.
    Frame& Require(bool condition, GC_ERROR code);
    /// The same, traced but not stored.
    Frame& RequireUnstored(bool condition, GC_ERROR code);
    Frame& RequireTLOpen(GC_ERROR code) { return Require(State().isTLOpen(), code); }
    /// Shows the number with the exit line.
    Frame& Count(const std::uint32_t* number);
    /// Leaves out the result line of a success.
    Frame& WithoutSuccessLine();

    bool isFailed() const noexcept { return result_ != GC_ERR_SUCCESS; }
    GC_ERROR result() const noexcept { return result_; }

    /// Runs the operation unless a check has failed. An exception gives GC_ERR_ERROR.
    template <typename Operation>
    GC_ERROR Run(Operation operation)
    {
        if (isFailed())
            return result_;
        try {
            return Finish(operation());
        } catch (const std::exception& error) {
            return Fail(error.what(), GC_ERR_ERROR);
        } catch (...) {
            return Fail(kUnknownException, GC_ERR_ERROR);
        }
    }

    /// The same for the functions that leave the thread's last error alone.
    template <typename Operation>
    GC_ERROR RunUntraced(Operation operation)
    {
        if (isFailed())
            return result_;
        try {
            return result_ = operation();
        } catch (...) {
            return result_ = GC_ERR_ERROR;
        }
    }

    /// The same as Run, with a finer view of the exceptions of register access.
    template <typename Operation>
    GC_ERROR RunRegisterAccess(Operation operation)
    {
        if (isFailed())
            return result_;
        try {
            return Finish(operation());
        } catch (const std::invalid_argument& error) {
            return Fail(error.what(), GC_ERR_INVALID_ADDRESS);
        } catch (const std::out_of_range& error) {
            return Fail(error.what(), GC_ERR_INVALID_ADDRESS);
        } catch (const CRegisterMap::access_error& error) {
            return Fail(error.what(), GC_ERR_ACCESS_DENIED);
        } catch (...) {
            return Fail(kUnknownException, GC_ERR_ERROR);
        }
    }

    /// Runs the operation on the module of that type behind the handle.
    template <typename Module, typename Operation>
    GC_ERROR RunOn(const void* handle, Operation operation)
    {
        return Run([&] { return Apply(FindModule<Module>(handle), operation); });
    }

    /// The operation on an object that was looked up; GC_ERR_INVALID_HANDLE without one.
    template <typename Object, typename Operation>
    static GC_ERROR Apply(const boost::shared_ptr<Object>& object, Operation operation)
    {
        return object ? operation(*object) : static_cast<GC_ERROR>(GC_ERR_INVALID_HANDLE);
    }

    template <typename Module>
    static boost::shared_ptr<Module> FindModule(const void* handle)
    {
        return HandleRegistry::Instance()->GetModuleAs<Module>(ToHandle(handle));
    }

    static LibraryState& State() noexcept { return LibraryState::Instance(); }

private:
    static constexpr char kUnknownException[] = "Unknown exception.";

    GC_ERROR Finish(GC_ERROR code);
    GC_ERROR Fail(const char* text, GC_ERROR code);

    const char* const name_;
    GC_ERROR result_ = GC_ERR_SUCCESS;
    bool hasCount_ = false;
    bool hasSuccessLine_ = true;
    const std::uint32_t* number_ = nullptr;
};

/// Begins an exported function: the frame, the entry lines with the given format and arguments,
/// and the first check, which is that the library is initialised.
#define GENTL_FRAME(...)                                                                           \
    Frame frame(__func__);                                                                         \
    GENTL_TRACE(kTraceCalls, 3, "--> Entry to %s:", __func__);                                     \
    GENTL_TRACE(kTraceCalls, 3, __VA_ARGS__);                                                      \
    frame.RequireUnstored(Frame::State().isInitialised(), GC_ERR_NOT_INITIALIZED)

/// Text of a consumer's string for a trace line.
inline const char* Printable(const char* text) noexcept
{
    return text ? text : "NULL";
}

} // namespace GenTLProducer
