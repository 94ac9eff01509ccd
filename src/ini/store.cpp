// One parsed document per file, reloaded when the file's stamp changes, written by an atomic
// replace. Edits not yet written are kept as edits, so that a file another program changed
// meanwhile is read again and the edits are applied on top of it: nothing of either is lost.
#include "ini/store.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "platform/platform.h"

namespace kirva::ini::store {

namespace {

constexpr std::size_t kMaxCachedFiles = 64;

struct Entry {
    enum class State { Unknown, Missing, Loaded, Unusable };
    State state = State::Unknown;
    std::uint64_t checked = 0; // scope generation in which the stamp was last compared
    platform::FileStamp stamp;
    std::string disk; // the bytes last read from or written to the file
    Document doc;     // disk with the pending edits applied
    std::vector<Edit> pending;
};

struct Store {
    std::mutex mutex;
    std::unordered_map<std::string, std::unique_ptr<Entry>> entries; // by normalised path
    std::unordered_map<std::string, std::string> normalised;         // absolute path as given -> key
    int batchDepth = 0;
    int scopeDepth = 0;
    std::uint64_t generation = 0; // one per outermost scope
    std::set<std::string> dirty;  // files with pending edits
    std::uint64_t failures = 0;   // writes refused and flushes failed
};

Store& TheStore() {
    static Store store;
    return store;
}

std::string KeyOf(Store& s, const std::string& path) {
    const auto known = s.normalised.find(path);
    if (known != s.normalised.end()) return known->second;
    std::error_code ec;
    const std::filesystem::path given(path);
    if (!given.is_absolute()) {
        const auto absolute = std::filesystem::absolute(given, ec);
        return ec ? path : absolute.lexically_normal().string();
    }
    std::string key = given.lexically_normal().string();
    if (s.normalised.size() > 4 * kMaxCachedFiles) s.normalised.clear();
    s.normalised.emplace(path, key);
    return key;
}

void Reset(Entry& e, Entry::State state) {
    e.state = state;
    e.disk.clear();
    e.doc = Document();
    if (state == Entry::State::Missing)
        for (const Edit& edit : e.pending) e.doc.Apply(edit);
}

void Load(Entry& e, std::string bytes, const platform::FileStamp& stamp) {
    Document doc = Document::Parse(bytes);
    for (const Edit& edit : e.pending) doc.Apply(edit);
    e.doc = std::move(doc);
    e.disk = std::move(bytes);
    e.stamp = stamp;
    e.state = Entry::State::Loaded;
}

void EvictIfFull(Store& s) {
    if (s.entries.size() < kMaxCachedFiles) return;
    for (auto it = s.entries.begin(); it != s.entries.end();) {
        if (it->second->pending.empty())
            it = s.entries.erase(it);
        else
            ++it;
    }
}

// The entry of a file, brought up to date with the disk.
Entry& Refresh(Store& s, const std::string& key) {
    auto found = s.entries.find(key);
    if (found == s.entries.end()) {
        EvictIfFull(s);
        found = s.entries.emplace(key, std::make_unique<Entry>()).first;
    }
    Entry& e = *found->second;
    if (s.scopeDepth > 0 && e.state != Entry::State::Unknown && e.checked == s.generation) return e;
    e.checked = s.generation;
    platform::FileStamp stamp;
    const platform::FileResult r = platform::StatFile(key, stamp);
    if (r == platform::FileResult::Ok && e.state == Entry::State::Loaded && stamp == e.stamp) return e;
    if (r == platform::FileResult::Missing) {
        if (e.state != Entry::State::Missing) Reset(e, Entry::State::Missing);
        return e;
    }
    if (r != platform::FileResult::Ok || stamp.Size > kMaxFileSize) {
        Reset(e, Entry::State::Unusable);
        return e;
    }
    std::string bytes;
    const platform::FileResult read = platform::ReadWholeFile(key, bytes, stamp);
    if (read == platform::FileResult::Missing)
        Reset(e, Entry::State::Missing);
    else if (read != platform::FileResult::Ok || bytes.size() > kMaxFileSize)
        Reset(e, Entry::State::Unusable);
    else
        Load(e, std::move(bytes), stamp);
    return e;
}

bool Flush(Store& s, const std::string& key) {
    s.dirty.erase(key);
    const auto found = s.entries.find(key);
    if (found == s.entries.end() || found->second->pending.empty()) return true;
    Entry& e = *found->second;
    std::optional<Document> rebuilt;
    std::string written;
    const auto build = [&](const std::string* current, std::string& bytes) {
        const bool unchanged = current ? (e.state == Entry::State::Loaded && *current == e.disk)
                                       : e.state == Entry::State::Missing;
        if (unchanged) {
            rebuilt.reset();
            written = e.doc.Serialize();
        } else {
            // Another program changed the file since it was read: our edits go on top of its version.
            Document doc = current ? Document::Parse(*current) : Document();
            for (const Edit& edit : e.pending) doc.Apply(edit);
            written = doc.Serialize();
            rebuilt = std::move(doc);
        }
        bytes = written;
    };
    platform::FileStamp stamp;
    if (platform::ReplaceFileContents(key, build, stamp) != platform::FileResult::Ok) {
        // The file is unchanged on disk; so must be what we show of it.
        s.entries.erase(found);
        ++s.failures;
        return false;
    }
    if (rebuilt) e.doc = std::move(*rebuilt);
    e.disk = std::move(written);
    e.stamp = stamp;
    e.state = Entry::State::Loaded;
    e.pending.clear();
    return true;
}

bool FlushAllLocked(Store& s) {
    bool ok = true;
    const std::set<std::string> dirty = s.dirty;
    for (const std::string& key : dirty) ok = Flush(s, key) && ok;
    return ok;
}

} // namespace

Reader::Reader(const std::string& path) : lock_(TheStore().mutex) {
    Store& s = TheStore();
    Entry& e = Refresh(s, KeyOf(s, path));
    if (e.state != Entry::State::Unusable) document_ = &e.doc;
}

bool Write(const std::string& path, const Edit& edit) {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    const std::string key = KeyOf(s, path);
    Entry& e = Refresh(s, key);
    if (e.state == Entry::State::Unusable) {
        ++s.failures;
        return false;
    }
    // Deleting from a file that does not exist leaves an empty file, as the Windows calls do.
    const bool createsEmptyFile =
        e.state == Entry::State::Missing && (edit.kind == Edit::DeleteKey || edit.kind == Edit::DeleteSection);
    if (!e.doc.Apply(edit) && !createsEmptyFile) return true;
    e.pending.push_back(edit);
    s.dirty.insert(key);
    if (s.batchDepth > 0) return true;
    return Flush(s, key);
}

void BeginScope() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    if (s.scopeDepth++ == 0) ++s.generation;
}

void EndScope() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    if (s.scopeDepth > 0) --s.scopeDepth;
}

void BeginBatch() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    if (s.scopeDepth++ == 0) ++s.generation;
    ++s.batchDepth;
}

bool EndBatch() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    if (s.scopeDepth > 0) --s.scopeDepth;
    if (s.batchDepth > 0) --s.batchDepth;
    return s.batchDepth > 0 || FlushAllLocked(s);
}

bool FlushAll() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    return FlushAllLocked(s);
}

std::uint64_t FailureCount() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    return s.failures;
}

void Clear() {
    Store& s = TheStore();
    std::lock_guard lock(s.mutex);
    FlushAllLocked(s);
    s.entries.clear();
    s.normalised.clear();
    s.dirty.clear();
}

} // namespace kirva::ini::store
