#include "engine/operation.h"

int QueryContent(IZtAudioSamples* pBuffer, CContentPtr& rContent)
{
    void* pvContent = nullptr;
    const int iStatus = pBuffer->QueryInterface(IID_IZtAVContent, &pvContent);
    auto* pContent = static_cast<IZtAVContent*>(pvContent);
    if (iStatus >= 0) {
        *&rContent = pContent; // takes over the reference that the query handed out
    } else if (pContent != nullptr) {
        pContent->Release();
    }
    return iStatus;
}

int OpenOutput(IZtAudioSamples* pOutput, CContentPtr& rContent)
{
    if (pOutput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const int iStatus = QueryContent(pOutput, rContent);
    return iStatus < 0 ? ZT_E_INVALID_PARAMETER : iStatus;
}

int OpenInput(IZtAudioSamples* pInput, CContentPtr& rContent)
{
    if (pInput == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    int iStatus = QueryContent(pInput, rContent);
    if (iStatus < 0) {
        return iStatus;
    }
    rContent->GetErrorCode(&iStatus);
    return IsToleratedErrorCode(iStatus) ? ZT_NOERROR : iStatus;
}

int SaveOperands(std::initializer_list<SSavedOperand> oOperands)
{
    for (const SSavedOperand& rsOperand : oOperands) {
        ReleaseSlot(*rsOperand.ppSlot);
    }
    int iStatus = ZT_NOERROR;
    for (const SSavedOperand& rsOperand : oOperands) {
        if (rsOperand.pBuffer == nullptr) {
            iStatus = ZT_E_INVALID_PARAMETER;
            continue;
        }
        *rsOperand.ppSlot = rsOperand.pBuffer;
        rsOperand.pBuffer->AddRef();
    }
    return iStatus;
}

void ReleaseSlot(IZtAudioSamples*& rpSlot)
{
    if (rpSlot != nullptr) {
        rpSlot->Release();
        rpSlot = nullptr;
    }
}
