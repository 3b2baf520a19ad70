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

int ReadErrorCode(IZtAVContent* pContent, int iStatus)
{
    pContent->GetErrorCode(&iStatus);
    return IsToleratedErrorCode(iStatus) ? ZT_NOERROR : iStatus;
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
    const int iStatus = QueryContent(pInput, rContent);
    return iStatus < 0 ? iStatus : ReadErrorCode(*rContent, iStatus);
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

SByteRun LookAtBytes(IZtAudioSamples* pIn, IZtAudioSamples* pOut)
{
    void* pvIn = nullptr;
    void* pvOut = nullptr;
    unsigned long ulLength = 0;
    unsigned long ulCapacity = 0;
    unsigned long ulOutLength = 0;
    pIn->GetBufferAndLength(&pvIn, &ulLength);
    pOut->GetBufferCapacity(&ulCapacity);
    pOut->GetBufferAndLength(&pvOut, &ulOutLength);
    return {static_cast<const unsigned char*>(pvIn), pvIn == nullptr ? 0 : ulLength, static_cast<unsigned char*>(pvOut),
            pvOut == nullptr ? 0 : ulCapacity};
}
