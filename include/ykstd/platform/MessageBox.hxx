// The application framework's message box. There is no window here: the text goes to a handler
// that can be replaced (tests capture it); the default one writes it to standard error.
#pragma once

#include <functional>

#include <ykstd/platform/WinTypes.hxx>

inline constexpr UINT MB_OK = 0x00;
inline constexpr UINT MB_OKCANCEL = 0x01;
inline constexpr UINT MB_ABORTRETRYIGNORE = 0x02;
inline constexpr UINT MB_YESNOCANCEL = 0x03;
inline constexpr UINT MB_YESNO = 0x04;
inline constexpr UINT MB_RETRYCANCEL = 0x05;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONWARNING = 0x30;
inline constexpr UINT MB_ICONINFORMATION = 0x40;

inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

// Shows `text` and gives the button chosen: the handler's answer.
YKSTD_EXPORT int AfxMessageBox(LPCSTR text, UINT type = MB_OK, UINT helpId = 0);
// The same with the program's own string resource `promptId` (empty when it has none).
YKSTD_EXPORT int AfxMessageBox(UINT promptId, UINT type = MB_OK, UINT helpId = static_cast<UINT>(-1));

namespace ykstd_platform {
using MessageBoxHandler = std::function<int(const char* text, UINT type, UINT helpId)>;
// Installs `handler` and gives the one before; an empty handler restores the default, which
// writes the text and a new line to standard error and answers with the box's first button.
YKSTD_EXPORT MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);
}  // namespace ykstd_platform
