// The whole public API of ykstd.
#pragma once

#include <ykstd/platform/Host.hxx>
#include <ykstd/platform/Storage.hxx>
#include <ykstd/platform/Unknown.hxx>
#include <ykstd/platform/WinTypes.hxx>
#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_Arr1.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Expression.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_MapNode.hxx>
#include <ykstd/ykstd_Schema.hxx>
#include <ykstd/ykstd_Seq.hxx>
#include <ykstd/ykstd_Session.hxx>
#include <ykstd/ykstd_StoredForm.hxx>
#include <ykstd/ykstd_TShared.hxx>
#include <ykstd/ykstd_Transient.hxx>
#include <ykstd/ykstd_Type.hxx>
#include <ykstd/ykstd_VarArg.hxx>
