#include "FileDialogs.h"

#include "drawing/WideText.h"
#include "files/PictureFile.h"

#include <cderr.h>
#include <commdlg.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace OrrinViewer {

namespace {

constexpr wchar_t kKinds[] =
    L"All known "
    L"kinds\0*.las;*.laz;*.ply;*.xyz;*.csv;*.pts;*.tif;*.tiff;*.png;*.jpg;*.jpeg;*.asc;*.geojson;*.json;*.shp;"
    L"*.gpkg;*.orrin\0"
    L"Projects (*.orrin)\0*.orrin\0"
    L"Point clouds and meshes (LAS, LAZ, COPC, PLY, texts)\0*.las;*.laz;*.ply;*.xyz;*.csv;*.pts\0"
    L"Rasters and reliefs (GeoTIFF, PNG, JPEG, ASCII grid)\0*.tif;*.tiff;*.png;*.jpg;*.jpeg;*.asc\0"
    L"Vectors (GeoJSON, shapefile, GeoPackage)\0*.geojson;*.json;*.shp;*.gpkg\0"
    L"All files\0*.*\0";

/// The names of hundreds of files.
constexpr std::size_t kLongestSelection = 1 << 16;

/// What a person may choose, as they write it.
constexpr const wchar_t* kSizes[] = {L"1", L"2", L"4"};
constexpr double kMostTimes = 64.0;

constexpr WORD kSizeBox = 100;

/// A dialog in memory, in the system's form: a text, a box to write or choose in, and two buttons.
class DialogTemplate {
public:
    DialogTemplate(const wchar_t* title, short width, short height, WORD controls) {
        Put(DLGTEMPLATE{DS_MODALFRAME | DS_CENTER | DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU, 0, controls, 0, 0,
                        width, height});
        PutNumber(0); // no menu
        PutNumber(0); // the usual class
        PutText(title);
        PutNumber(9);
        PutText(L"MS Shell Dlg");
    }

    void Add(WORD classNumber, DWORD style, const wchar_t* text, const RECT& place, WORD id) {
        m_bytes.resize((m_bytes.size() + 3) / 4 * 4); // each control begins at a whole double word
        Put(DLGITEMTEMPLATE{style | WS_CHILD | WS_VISIBLE, 0, static_cast<short>(place.left),
                            static_cast<short>(place.top), static_cast<short>(place.right - place.left),
                            static_cast<short>(place.bottom - place.top), id});
        PutNumber(0xFFFF);
        PutNumber(classNumber);
        PutText(text);
        PutNumber(0);
    }

    const DLGTEMPLATE* Get() const { return reinterpret_cast<const DLGTEMPLATE*>(m_bytes.data()); }

private:
    template <typename Value> void Put(const Value& value) {
        const auto* bytes = reinterpret_cast<const BYTE*>(&value);
        m_bytes.insert(m_bytes.end(), bytes, bytes + sizeof(Value));
    }
    void PutNumber(WORD number) { Put(number); }
    void PutText(const wchar_t* text) {
        const auto* bytes = reinterpret_cast<const BYTE*>(text);
        m_bytes.insert(m_bytes.end(), bytes, bytes + (std::wcslen(text) + 1) * sizeof(wchar_t));
    }

    std::vector<BYTE> m_bytes;
};

// The system's numbers for the classes of controls.
constexpr WORD kButtonClass = 0x0080;
constexpr WORD kTextClass = 0x0082;
constexpr WORD kComboClass = 0x0085;

struct SizeQuestion {
    int windowWidth;
    int windowHeight;
    std::optional<PictureSize> answer;

    /// Up to `kMostTimes` it is how many times the window, above that a width in pixels.
    std::optional<PictureSize> Understand(const wchar_t* text) const {
        wchar_t* end = nullptr;
        const double number = std::wcstod(text, &end);
        if (end == text || !(number > 0.0) || number > kLargestPictureSide) {
            return std::nullopt;
        }
        const double scale = number <= kMostTimes ? number : number / windowWidth;
        const PictureSize size{static_cast<int>(std::lround(windowWidth * scale)),
                               static_cast<int>(std::lround(windowHeight * scale))};
        const bool isPossible = size.widthPixels > 0 && size.heightPixels > 0 &&
                                size.widthPixels <= kLargestPictureSide && size.heightPixels <= kLargestPictureSide;
        return isPossible ? std::optional(size) : std::nullopt;
    }
};

INT_PTR CALLBACK AnswerSizeQuestion(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, lParam);
        for (const wchar_t* size : kSizes) {
            SendDlgItemMessageW(dialog, kSizeBox, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(size));
        }
        SetDlgItemTextW(dialog, kSizeBox, L"2");
        SetFocus(GetDlgItem(dialog, kSizeBox));
        return FALSE;
    }
    if (message != WM_COMMAND) {
        return FALSE;
    }
    if (LOWORD(wParam) == IDCANCEL) {
        EndDialog(dialog, 0);
    } else if (LOWORD(wParam) == IDOK) {
        auto& question = *reinterpret_cast<SizeQuestion*>(GetWindowLongPtrW(dialog, DWLP_USER));
        wchar_t text[32] = {};
        GetDlgItemTextW(dialog, kSizeBox, text, static_cast<int>(std::size(text)));
        question.answer = question.Understand(text);
        if (question.answer) {
            EndDialog(dialog, 1);
        } else {
            MessageBeep(MB_ICONWARNING);
            SetFocus(GetDlgItem(dialog, kSizeBox));
        }
    }
    return TRUE;
}

INT_PTR CALLBACK AnswerSaveQuestion(HWND dialog, UINT message, WPARAM wParam, LPARAM /*lParam*/) {
    if (message == WM_INITDIALOG) {
        return TRUE; // the first button has the keyboard
    }
    if (message != WM_COMMAND) {
        return FALSE;
    }
    EndDialog(dialog, LOWORD(wParam));
    return TRUE;
}

} // namespace

std::vector<std::filesystem::path> AskForFiles(HWND owner) {
    std::vector<wchar_t> names(kLongestSelection, L'\0');
    OPENFILENAMEW question = {};
    question.lStructSize = sizeof(question);
    question.hwndOwner = owner;
    question.lpstrFilter = kKinds;
    question.lpstrFile = names.data();
    question.nMaxFile = static_cast<DWORD>(names.size());
    question.lpstrTitle = L"Add files";
    question.Flags = OFN_EXPLORER | OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    if (!GetOpenFileNameW(&question)) {
        if (CommDlgExtendedError() == FNERR_BUFFERTOOSMALL) {
            TellProblem(owner, "These are too many files at once.");
        }
        return {};
    }
    // Of several, the folder comes first.
    const std::filesystem::path first = names.data();
    std::vector<std::filesystem::path> files;
    for (const wchar_t* name = names.data() + std::wcslen(names.data()) + 1; *name != L'\0';
         name += std::wcslen(name) + 1) {
        files.push_back(first / name);
    }
    return files.empty() ? std::vector{first} : files;
}

std::optional<std::filesystem::path> AskWhereToSave(HWND owner, const wchar_t* title, const wchar_t* filter,
                                                    const std::wstring& name, const wchar_t* ending) {
    std::vector<wchar_t> path(kLongestSelection, L'\0');
    name.copy(path.data(), path.size() - 1);
    OPENFILENAMEW question = {};
    question.lStructSize = sizeof(question);
    question.hwndOwner = owner;
    question.lpstrFilter = filter;
    question.lpstrFile = path.data();
    question.nMaxFile = static_cast<DWORD>(path.size());
    question.lpstrTitle = title;
    question.lpstrDefExt = ending;
    question.Flags = OFN_EXPLORER | OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return GetSaveFileNameW(&question) ? std::optional<std::filesystem::path>(path.data()) : std::nullopt;
}

std::optional<PictureSize> AskForPictureSize(HWND owner, int windowWidth, int windowHeight) {
    DialogTemplate dialog(L"Size of the picture", 190, 60, 4);
    dialog.Add(kTextClass, SS_LEFT, L"So many times the window, or a width in pixels:", {8, 8, 184, 18}, 0xFFFF);
    dialog.Add(kComboClass, CBS_DROPDOWN | WS_VSCROLL | WS_TABSTOP, L"", {8, 20, 182, 90}, kSizeBox);
    dialog.Add(kButtonClass, BS_DEFPUSHBUTTON | WS_TABSTOP, L"Save", {78, 40, 128, 54}, IDOK);
    dialog.Add(kButtonClass, BS_PUSHBUTTON | WS_TABSTOP, L"Cancel", {132, 40, 182, 54}, IDCANCEL);
    SizeQuestion question{windowWidth, windowHeight, std::nullopt};
    DialogBoxIndirectParamW(GetModuleHandleW(nullptr), dialog.Get(), owner, AnswerSizeQuestion,
                            reinterpret_cast<LPARAM>(&question));
    return question.answer;
}

SaveAnswer AskWhetherToSave(HWND owner, const std::string& name) {
    const std::wstring question = L"The changes of " + WideText(name) + L" are not saved.";
    DialogTemplate dialog(L"Save the project?", 200, 52, 4);
    dialog.Add(kTextClass, SS_LEFT | SS_NOPREFIX, question.c_str(), {8, 8, 192, 26}, 0xFFFF);
    dialog.Add(kButtonClass, BS_DEFPUSHBUTTON | WS_TABSTOP, L"&Save", {26, 32, 78, 46}, IDYES);
    dialog.Add(kButtonClass, BS_PUSHBUTTON | WS_TABSTOP, L"&Don't save", {83, 32, 135, 46}, IDNO);
    dialog.Add(kButtonClass, BS_PUSHBUTTON | WS_TABSTOP, L"Cancel", {140, 32, 192, 46}, IDCANCEL);
    switch (DialogBoxIndirectParamW(GetModuleHandleW(nullptr), dialog.Get(), owner, AnswerSaveQuestion, 0)) {
    case IDYES:
        return SaveAnswer::Save;
    case IDNO:
        return SaveAnswer::Leave;
    default:
        return SaveAnswer::Cancel;
    }
}

void TellProblem(HWND owner, const std::string& problem) {
    MessageBoxW(owner, WideText(problem).c_str(), L"OrrinViewer", MB_OK | MB_ICONWARNING);
}

} // namespace OrrinViewer
