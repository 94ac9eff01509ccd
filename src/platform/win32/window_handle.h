// Window handles as the numbers that the platform interface and the registry carry. Internal to
// src/platform/win32.
#pragma once

#include "platform/win32/internal.h"

#include <cstdint>

namespace kirva::platform::win32 {

// Window handles are 32-bit values (sign-extended in a 64-bit program), so that 32-bit and 64-bit
// programs can exchange them. A 32-bit program of the suite publishes its handle as a DWORD: the
// number is the handle's low 32 bits, 1 to 4294967295.
inline std::int64_t NumberOfWindow(HWND window) {
    return static_cast<std::int64_t>(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(window)));
}

// The handle a number stands for; nullptr for numbers that cannot be a window handle.
inline HWND WindowOfNumber(std::int64_t number) {
    if (number <= 0 || number > 0xFFFFFFFFll) return nullptr;
    return reinterpret_cast<HWND>(static_cast<INT_PTR>(static_cast<std::int32_t>(number)));
}

} // namespace kirva::platform::win32
