// Test helpers of the core: TempDir and a message service that records what the program said.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TempDir.h"
#include "translate/messages.h"

namespace kirva::test {

// Records every message; answers questions with `answer`. Installed for its lifetime.
class RecordingMessages : public MessageService {
  public:
    struct Entry {
        std::string text;
        int icon;
        MsgButtons buttons;
    };
    explicit RecordingMessages(MsgAnswer answer = MsgAnswer::No) : answer_(answer) {
        SetMessageService(this);
    }
    ~RecordingMessages() override { SetMessageService(nullptr); }
    MsgAnswer Show(const std::string& text, int icon, MsgButtons buttons) override {
        entries.push_back({text, icon, buttons});
        return buttons == MsgButtons::YesNo ? answer_ : MsgAnswer::Ok;
    }
    void Answer(MsgAnswer a) { answer_ = a; }
    // Exactly one message was shown: this text with this icon.
    ::testing::AssertionResult Only(const std::string& text, int icon) const {
        if (entries.size() == 1 && entries[0].text == text && entries[0].icon == icon)
            return ::testing::AssertionSuccess();
        auto failure = ::testing::AssertionFailure() << "expected only \"" << text << "\" (icon " << icon
                                                     << "), shown " << entries.size() << ":";
        for (const Entry& e : entries) failure << "\n  \"" << e.text << "\" (icon " << e.icon << ")";
        return failure;
    }
    std::vector<Entry> entries;

  private:
    MsgAnswer answer_;
};

} // namespace kirva::test
