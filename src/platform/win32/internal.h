// Helpers shared by the Windows backend. Internal to src/platform/win32; the tests of the
// platform layer use them to reach what the public interface hides.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
// winsock2.h before windows.h, so that windows.h does not pull in the old winsock.h.
#include <winsock2.h>
// (then windows.h)
#include <windows.h>

#include "platform/platform.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kirva::platform::win32 {

// ------------------------------------------------------------------ text
// UTF-8 to UTF-16 for the W functions. Text that is not valid UTF-8 is taken as text of the
// ANSI code page, as an A function would take it.
std::wstring Widen(const std::string& text);
// UTF-16 to UTF-8 (unpaired surrogates become U+FFFD).
std::string Narrow(const std::wstring& text);
std::string Narrow(const wchar_t* text, std::size_t length);
// Text of the ANSI code page (what an A function returns) to UTF-8, and back. Characters the
// ANSI code page lacks become "?".
std::string AnsiToUtf8(const std::string& text);
std::string Utf8ToAnsi(const std::string& text);
// Text of a system error code (GetLastError, a Winsock or registry status), with its number.
std::string LastErrorText(DWORD error);
// Value of an environment variable as UTF-8, or the fallback when it is unset or empty.
std::string EnvOr(const char* name, const std::string& fallback);

// ------------------------------------------------------------------ handles
// A kernel handle closed when the object goes (INVALID_HANDLE_VALUE and null both mean none).
class Handle {
  public:
    explicit Handle(HANDLE handle = nullptr) : handle_(handle) {}
    ~Handle() { Reset(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : handle_(other.Release()) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }
    HANDLE get() const { return handle_; }
    bool valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
    void Reset(HANDLE handle = nullptr);
    // Gives the handle up without closing it.
    HANDLE Release() {
        HANDLE handle = handle_;
        handle_ = nullptr;
        return handle;
    }

  private:
    HANDLE handle_;
};

// ------------------------------------------------------------------ files
// FILETIME (100 ns since 1601) as nanoseconds since 1970.
std::int64_t FileTimeToUnixNs(const FILETIME& time);
// A temporary file beside `path` (".<name>.<pid>-<counter>.tmp"), created exclusively
// (CREATE_NEW), opened for writing and deletion only, and shared with nobody while it is open.
// `security` is the security descriptor it gets (nullptr: the one the folder passes on).
// Returns the handle (invalid, with GetLastError set, on failure) and its path.
HANDLE CreateTemporaryBeside(const std::wstring& path, std::wstring& temporary,
                             PSECURITY_DESCRIPTOR security);
// Whether a folder entry is a temporary file of the file named `name` (case-insensitive).
bool IsTemporaryOf(std::wstring_view entry, std::wstring_view name);
// Removes the temporary files of `path` that are older than a minute (left by a killed writer),
// at the first call for that path in this process.
void RemoveStaleTemporaries(const std::wstring& path);

} // namespace kirva::platform::win32
