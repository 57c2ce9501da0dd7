// The whole public API of ykstd.
#pragma once

#include <ykstd/platform/CString.hxx>
#include <ykstd/platform/Host.hxx>
#include <ykstd/platform/MessageBox.hxx>
#include <ykstd/platform/Module.hxx>
#include <ykstd/platform/Nls.hxx>
#include <ykstd/platform/OleAuto.hxx>
#include <ykstd/platform/Registry.hxx>
#include <ykstd/platform/Unknown.hxx>
#include <ykstd/platform/WinError.hxx>
#include <ykstd/platform/WinTypes.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_MsgEx.hxx>
#include <ykstd/ykstd_Pref.hxx>
#include <ykstd/ykstd_Session.hxx>
#include <ykstd/ykstd_TShared.hxx>
#include <ykstd/ykstd_Transient.hxx>
#include <ykstd/ykstd_Type.hxx>
