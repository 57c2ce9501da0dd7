// The whole public API of ykstd.
#pragma once

#include <ykstd/platform/Host.hxx>
#include <ykstd/platform/Process.hxx>
#include <ykstd/platform/Registry.hxx>
#include <ykstd/platform/Storage.hxx>
#include <ykstd/platform/SysException.hxx>
#include <ykstd/platform/Unknown.hxx>
#include <ykstd/platform/WinError.hxx>
#include <ykstd/platform/WinTypes.hxx>
#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_ErrorHandler.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_Schema.hxx>
#include <ykstd/ykstd_Seq.hxx>
#include <ykstd/ykstd_Session.hxx>
#include <ykstd/ykstd_ShowVariable.hxx>
#include <ykstd/ykstd_TShared.hxx>
#include <ykstd/ykstd_Timer.hxx>
#include <ykstd/ykstd_Transient.hxx>
#include <ykstd/ykstd_Type.hxx>
