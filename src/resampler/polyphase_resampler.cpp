#include "resampler/polyphase_resampler.h"

#include "component/guid.h"

#include <zta/status.h>

#include <cstdlib>

CPolyphaseResampler::CPolyphaseResampler()
    : CZtUnknown(L"CPolyphaseResampler", nullptr), m_eHint(ippAlgHintFast), m_pSpec(nullptr), m_ulInputRate(0),
      m_ulOutputRate(0), m_ulFilterLength(0), m_ulWorkSamples(0), m_ulChannels(0), m_ulHistoryStride(0),
      m_ulPrimeSamples(0), m_aulHistoryCount(), m_adTime(), m_psWorkBuffer(nullptr), m_psHistory(nullptr),
      m_fRollOff(0.0F), m_fAlpha(0.0F), m_lRefCount(0)
{
}

CPolyphaseResampler::~CPolyphaseResampler()
{
    ippsFree(m_pSpec);
    std::free(m_psWorkBuffer);
    std::free(m_psHistory);
}

int CPolyphaseResampler::QueryInterface(const _GUID& riid, void** ppv)
{
    m_lRefCount = 0;
    if (!ZtIsSameGuid(riid, IID_IUnknown)) {
        return E_NOINTERFACE;
    }
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = static_cast<IUnknown*>(this);
    AddRef();
    return ZT_NOERROR;
}

unsigned long CPolyphaseResampler::AddRef()
{
    return static_cast<unsigned long>(static_cast<long>(++m_lRefCount));
}

unsigned long CPolyphaseResampler::Release()
{
    std::int32_t lLeft = 0;
    // The only reference: no other thread can change the count.
    if (m_lRefCount == 1) {
        m_lRefCount.store(0, std::memory_order_relaxed);
    } else {
        lLeft = --m_lRefCount;
    }
    if (lLeft == 0) {
        delete this;
    }
    return static_cast<unsigned long>(static_cast<long>(lLeft));
}
