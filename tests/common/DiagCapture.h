// Test helper: collects every diagnostic reported through the platform layer while it lives.
#ifndef ORVIK_TESTS_DIAGCAPTURE_H
#define ORVIK_TESTS_DIAGCAPTURE_H

#include <mutex>
#include <string>
#include <vector>

#include "platform/KrPlatform.h"

struct DiagRecord {
    int kind;
    std::wstring condition;
    std::wstring message;
    std::wstring source;
    int line;
};

// Installs itself as the process-wide handler; restores the previous one when destroyed.
class DiagCapture {
public:
    DiagCapture() { previous_ = KR_SetDiagHandler(&DiagCapture::handle, this); }
    ~DiagCapture() { KR_SetDiagHandler(previous_, nullptr); }
    DiagCapture(const DiagCapture &) = delete;
    DiagCapture &operator=(const DiagCapture &) = delete;

    std::vector<DiagRecord> records() const {
        std::lock_guard<std::mutex> guard(lock_);
        return records_;
    }
    size_t count() const {
        std::lock_guard<std::mutex> guard(lock_);
        return records_.size();
    }
    // Number of assertions (kind 0) whose message contains `text`.
    size_t assertionsContaining(const std::wstring &text) const {
        std::lock_guard<std::mutex> guard(lock_);
        size_t n = 0;
        for (const auto &r : records_)
            if (r.kind == 0 && r.message.find(text) != std::wstring::npos) ++n;
        return n;
    }
    void clear() {
        std::lock_guard<std::mutex> guard(lock_);
        records_.clear();
    }

private:
    static void handle(void *user, int kind, const wchar_t *condition, const wchar_t *message,
                       const wchar_t *source, int line) {
        auto *self = static_cast<DiagCapture *>(user);
        std::lock_guard<std::mutex> guard(self->lock_);
        self->records_.push_back({kind, condition, message, source, line});
    }

    mutable std::mutex lock_;
    std::vector<DiagRecord> records_;
    KrDiagHandler previous_ = nullptr;
};

#endif
