#include "kernels/loops/loops.h"

#include <zta/sample_loops.h>
#include <zta/status.h>

const char* ztGetSampleLoops()
{
    return ZtaActiveLoops().pszName;
}

int ztSelectSampleLoops(const char* pszName)
{
    return ZtaSetActiveLoops(pszName) ? ZT_NOERROR : ZT_E_INVALID_PARAMETER;
}
