// Sequences of dimensions, and of sequences of dimensions; each element is stored in the stored
// form of its own class.
#pragma once

#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_Seq.hxx>

YKSTD_SEQUENCE(DimSeq, ykstd_Dim, ykstd_FormNested);
YKSTD_SEQUENCE(DimSeqSeq, ykstd_DimSeq, ykstd_FormNested);
