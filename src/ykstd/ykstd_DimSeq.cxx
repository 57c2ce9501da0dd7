#include <ykstd/ykstd_DimSeq.hxx>

YKSTD_IMPLEMENT_SEQUENCE(DimSeq)
YKSTD_IMPLEMENT_SEQUENCE(DimSeqSeq)
