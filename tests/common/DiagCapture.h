// Test helper: collects every diagnostic reported through the platform layer while it lives.
#ifndef ORVIK_TESTS_DIAGCAPTURE_H
#define ORVIK_TESTS_DIAGCAPTURE_H

#include <gtest/gtest.h>

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

// Installs a process-wide handler while at least one capture lives; the newest capture receives
// every report (captures nest).  The previous handler is restored when the last one goes.
class DiagCapture {
public:
    DiagCapture() {
        std::lock_guard<std::mutex> guard(stackLock());
        if (stack().empty()) previous() = KR_SetDiagHandler(&DiagCapture::handle, nullptr);
        stack().push_back(this);
    }
    ~DiagCapture() {
        std::lock_guard<std::mutex> guard(stackLock());
        stack().pop_back();
        if (stack().empty()) KR_SetDiagHandler(previous(), nullptr);
    }
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
    static std::mutex &stackLock() {
        static std::mutex m;
        return m;
    }
    static std::vector<DiagCapture *> &stack() {
        static std::vector<DiagCapture *> s;
        return s;
    }
    static KrDiagHandler &previous() {
        static KrDiagHandler p = nullptr;
        return p;
    }
    static void handle(void *, int kind, const wchar_t *condition, const wchar_t *message,
                       const wchar_t *source, int line) {
        DiagCapture *self;
        {
            std::lock_guard<std::mutex> guard(stackLock());
            if (stack().empty()) return;
            self = stack().back();
        }
        std::lock_guard<std::mutex> guard(self->lock_);
        self->records_.push_back({kind, condition, message, source, line});
    }

    mutable std::mutex lock_;
    std::vector<DiagRecord> records_;
};

// The usual check after a call that must report misuse: exactly one report was captured, an
// assertion, with this message and, where given (non-empty), this condition text and source.
inline ::testing::AssertionResult expectReport(DiagCapture const &diag, std::wstring const &message,
                                               std::wstring const &condition = {},
                                               std::wstring const &source = {}) {
    auto const records = diag.records();
    auto narrow = [](std::wstring const &w) { return std::string(w.begin(), w.end()); };
    if (records.size() != 1)
        return ::testing::AssertionFailure()
               << records.size() << " reports, expected one: \"" << narrow(message) << "\"";
    DiagRecord const &r = records[0];
    if (r.kind != 0)
        return ::testing::AssertionFailure() << "a running diagnostic, not an assertion";
    if (r.message != message)
        return ::testing::AssertionFailure() << "message \"" << narrow(r.message) << "\"";
    if (!condition.empty() && r.condition != condition)
        return ::testing::AssertionFailure() << "condition \"" << narrow(r.condition) << "\"";
    if (!source.empty() && r.source != source)
        return ::testing::AssertionFailure() << "source \"" << narrow(r.source) << "\"";
    return ::testing::AssertionSuccess();
}

#endif
