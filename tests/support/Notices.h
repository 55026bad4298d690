#pragma once

#include <OrrinDisplay.h>

#include <string>
#include <vector>

struct NoticeRecord {
    std::wstring text;
    std::wstring caption;
    unsigned int type;
};

/// Answers the library's message boxes while it lives, so that no test waits for a person.
class Notices {
public:
    Notices() {
        KTR::SetMessageBoxHandler(
            [](const wchar_t* text, const wchar_t* caption, unsigned int type, void* context) -> int {
                static_cast<Notices*>(context)->shown.push_back({text, caption, type});
                return IDOK;
            },
            this);
    }
    ~Notices() { KTR::SetMessageBoxHandler(nullptr, nullptr); }
    Notices(const Notices&) = delete;
    Notices& operator=(const Notices&) = delete;

    std::vector<NoticeRecord> shown;
};
