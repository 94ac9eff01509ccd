// An environment variable set (or removed) for the life of an object. Standard C++ and the C
// library's environment calls of each system.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace kirva::test {

class ScopedEnv {
  public:
    // nullptr removes the variable.
    ScopedEnv(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        Set(value);
    }
    ScopedEnv(const char* name, const std::string& value) : ScopedEnv(name, value.c_str()) {}
    ~ScopedEnv() { Set(old_ ? old_->c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    void Set(const char* value) {
#ifdef _WIN32
        // Windows has no empty variables: "" removes the variable there.
        ::_putenv_s(name_.c_str(), value != nullptr ? value : "");
#else
        if (value != nullptr)
            ::setenv(name_.c_str(), value, 1);
        else
            ::unsetenv(name_.c_str());
#endif
    }

    std::string name_;
    std::optional<std::string> old_;
};

} // namespace kirva::test
