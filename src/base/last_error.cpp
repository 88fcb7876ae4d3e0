#include "base/last_error.h"

#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>

namespace GenTLProducer
{

namespace
{

struct ErrorRow {
    std::int32_t code;
    const char* text;
};

constexpr ErrorRow kErrorTexts[] = {
    {0, "No Error"},
    {-1001, "Unspecified runtime error"},
    {-1002, "Module not initialized"},
    {-1003, "Requested operation is not implemented"},
    {-1004, "Requested resource is already in use"},
    {-1005, "Requested operation is not allowed"},
    {-1006, "Given handle does not support the operation"},
    {-1007, "ID could not be connected to a resource"},
    {-1008, "The function has no data to work on"},
    {-1009, "One of the parameter given was not valid or out of range"},
    {-1010, "Communication error has occurred"},
    {-1011, "An operation's timeout time expired before it could be completed"},
    {-1012, "An operation has been aborted before it could be completed"},
    {-1013, "No Buffer announced or one or more buffers with invalid buffer size"},
    {-1014, "Resource or information is not available at a given time in a current state"},
    {-1015, "A given address is out of range or invalid for internal reasons"},
};

struct Record {
    std::int32_t code = 0;
    bool hasText = false;
    std::string text;
    Record* previous = nullptr;
    Record* next = nullptr;
};

// A pthread key in place of thread_local: its destructor lives in this library, and unloading
// deletes the key, so that a thread that ends later doesn't run into unmapped code. The list
// lets unloading free the records of threads that are still alive.
class RecordStore
{
public:
    RecordStore() noexcept { hasKey_ = pthread_key_create(&key_, &RecordStore::atThreadExit) == 0; }
    RecordStore(const RecordStore&) = delete;
    RecordStore& operator=(const RecordStore&) = delete;
    ~RecordStore()
    {
        if (hasKey_)
            pthread_key_delete(key_);
        while (first_)
            destroy(first_);
    }

    Record* find() const noexcept
    {
        return hasKey_ ? static_cast<Record*>(pthread_getspecific(key_)) : nullptr;
    }

    /// The calling thread's record, made if need be; null when there is no memory for it.
    Record* get()
    {
        if (Record* existing = find())
            return existing;
        if (!hasKey_)
            return nullptr;
        auto record = std::make_unique<Record>();
        if (pthread_setspecific(key_, record.get()) != 0)
            return nullptr;
        const std::lock_guard<std::mutex> lock(mutex_);
        record->next = first_;
        if (first_)
            first_->previous = record.get();
        first_ = record.get();
        return record.release();
    }

    void drop() noexcept
    {
        Record* record = find();
        if (!record)
            return;
        pthread_setspecific(key_, nullptr);
        destroy(record);
    }

private:
    static void atThreadExit(void* record);

    void destroy(Record* record) noexcept
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        (record->previous ? record->previous->next : first_) = record->next;
        if (record->next)
            record->next->previous = record->previous;
        delete record;
    }

    pthread_key_t key_{};
    bool hasKey_ = false;
    std::mutex mutex_; // leaf: guards the list
    Record* first_ = nullptr;
};

RecordStore g_store;

void RecordStore::atThreadExit(void* record)
{
    g_store.destroy(static_cast<Record*>(record));
}

// GCGetLastError of the thread that loads the library, until it initialises it.
const std::int32_t g_notInitialised = SetLastError(-1002);

} // namespace

const char* ErrorText(std::int32_t code) noexcept
{
    if (code > 0)
        return "Invalid error code";
    if (code <= -10000)
        return "Implementation specific error occurred";
    for (const ErrorRow& row : kErrorTexts) {
        if (row.code == code)
            return row.text;
    }
    return "Unknown error";
}

std::int32_t SetLastError(std::int32_t code, const char* text) noexcept
{
    if (code == kErrorAlreadyStored) {
        const Record* record = g_store.find();
        if (!record)
            return kErrorAlreadyStored;
        return record->code != 0 ? record->code : -1001;
    }
    try {
        if (Record* record = g_store.get()) {
            record->code = code;
            record->hasText = false;
            record->text.clear();
            if (text) {
                record->text = text;
                record->hasText = true;
            }
        }
    } catch (const std::bad_alloc&) {
        // The code is stored as far as memory allowed; the caller still gets it.
    }
    return code;
}

LastError GetLastError()
{
    const Record* record = g_store.find();
    if (!record)
        return {0, ErrorText(0)};
    return {record->code, record->hasText ? record->text : ErrorText(record->code)};
}

void DropLastError() noexcept
{
    g_store.drop();
}

} // namespace GenTLProducer
