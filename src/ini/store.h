// The cache of parsed files behind the profile functions: one document per file, reused while
// the file on disk keeps its stamp, and the pending edits of a batch. Internal to src/ini.
#pragma once

#include <mutex>
#include <string>

#include "ini/document.h"

namespace kirva::ini::store {

// Files larger than this are treated as unreadable: reads give defaults, writes are refused.
inline constexpr std::uint64_t kMaxFileSize = 256u << 20;

// The current document of a file, held under the store's lock for the life of the object.
class Reader {
  public:
    explicit Reader(const std::string& path);
    // Null when the file is missing, a folder, unreadable or too large.
    const Document* get() const { return document_; }

  private:
    std::unique_lock<std::mutex> lock_;
    const Document* document_ = nullptr;
};

// Applies an edit to a file: written at once, or when the outermost batch ends.
// False when the file cannot be written (it is then unchanged on disk).
bool Write(const std::string& path, const Edit& edit);

// Scopes in which each file is compared with the disk once (batches are such scopes too).
void BeginScope();
void EndScope();

// Batches: writes stay in memory until the depth comes back to 0.
void BeginBatch();
bool EndBatch(); // flushes when the outermost batch ends; true when every flush succeeded
bool FlushAll();

// How many writes were refused or flushes failed since the program started: a writer compares
// the count before and after its writes (BatchScope does) to learn whether all reached the disk.
std::uint64_t FailureCount();

// Writes what is pending, then forgets every document.
void Clear();

} // namespace kirva::ini::store
