#include "component/hresult.h"
#include "testing/log_recorder.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <string>

namespace {

class HResult : public testing::Test {
protected:
    void SetUp() override { LogRecorder::Clear(); }

    static void ExpectLogged(std::size_t count) { EXPECT_EQ(LogRecorder::Count(), count); }
};

TEST_F(HResult, LogsAFailureWhenItIsStored)
{
    const CZtHResult status(ZT_E_MODULE_BUSY);
    ExpectLogged(1);
    const LogEntry entry = LogRecorder::Last();
    EXPECT_EQ(entry.package, 21004U);
    EXPECT_EQ(entry.line, 1);
    EXPECT_EQ(entry.level, 4U);
    EXPECT_EQ(entry.format, "[ASSERT] hr = %ls");
    EXPECT_EQ(LogRecorder::LastText(),
              "[ASSERT] hr = ZT_E_MODULE_BUSY: The module is still processing the last requested operation.");
}

TEST_F(HResult, LogsAFailureWithoutTextAsUnknown)
{
    const CZtHResult status(E_FAIL);
    ExpectLogged(1);
    EXPECT_EQ(LogRecorder::LastText(), "[ASSERT] hr = Unknown error");
}

TEST_F(HResult, LogsNoSuccess)
{
    CZtHResult status(0);
    CZtHResult other(1);
    CZtHResult largest(0x7FFFFFFF, 0);
    status = 0;
    status = 1;
    status = other;
    status.AssertIfError();
    ExpectLogged(0);
}

TEST_F(HResult, LogsNoneOfTheAllowedFailures)
{
    const CZtHResult allowed(ZT_E_INVALID_PARAMETER, 1, ZT_E_INVALID_PARAMETER);
    ExpectLogged(0);
    const CZtHResult other(ZT_E_INVALID_PARAMETER, 1, ZT_E_INVALID_POINTER);
    ExpectLogged(1);
    // A count of zero or less allows nothing.
    const CZtHResult none(ZT_E_FAIL, 0);
    ExpectLogged(2);
    const CZtHResult negative(ZT_E_FAIL, -1, ZT_E_FAIL);
    ExpectLogged(3);
}

TEST_F(HResult, LogsEachAssignmentOfAnotherFailure)
{
    CZtHResult status(0, 7, ZT_E_FAIL, E_FAIL, kZtSynchroStatusPlayedLate, kZtSynchroStatusCancelled, E_POINTER,
                      E_NOINTERFACE, kZtSynchroStatusPlayedLate);
    const struct {
        int code;
        std::size_t logged; ///< so far
    } steps[] = {{ZT_E_FAIL, 0},
                 {E_FAIL, 0},
                 {kZtSynchroStatusPlayedLate, 0},
                 {kZtSynchroStatusCancelled, 0},
                 {E_POINTER, 0},
                 {E_NOINTERFACE, 0},
                 {E_OUTOFMEMORY, 1},
                 {E_OUTOFMEMORY, 2},
                 {E_NOINTERFACE, 2},
                 {0, 2}};
    for (const auto& step : steps) {
        status = step.code;
        ExpectLogged(step.logged);
        EXPECT_EQ(static_cast<int&>(status), step.code);
    }
}

TEST_F(HResult, LogsAfterAssignNoAssertOnlyInAssertIfError)
{
    CZtHResult status(0);
    status.AssignNoAssert(ZT_E_FAIL);
    ExpectLogged(0);
    EXPECT_TRUE(status.DidFail());
    status.AssertIfError();
    ExpectLogged(1);
    status.AssertIfError();
    ExpectLogged(2);
}

TEST_F(HResult, IsNotCheckedIfWrittenThroughItsReferenceOrAddress)
{
    CZtHResult status(0);
    static_cast<int&>(status) = ZT_E_FAIL;
    EXPECT_TRUE(status.DidFail());
    *&status = ZT_E_INVALID_POINTER;
    EXPECT_EQ(static_cast<int&>(status), ZT_E_INVALID_POINTER);
    ExpectLogged(0);
    status.AssertIfError();
    ExpectLogged(1);
}

TEST_F(HResult, SucceedsFromZeroUpwards)
{
    for (const int code : {0, 1, 0x7FFFFFFF}) {
        CZtHResult status(code);
        EXPECT_TRUE(status.DidSucceed()) << code;
        EXPECT_FALSE(status.DidFail()) << code;
    }
    for (const int code : {-1, E_FAIL, static_cast<int>(0x80000000)}) {
        CZtHResult status(code);
        EXPECT_FALSE(status.DidSucceed()) << code;
        EXPECT_TRUE(status.DidFail()) << code;
    }
}

TEST_F(HResult, CopiesStatusAndAllowedFailuresAndChecksTheCopy)
{
    CZtHResult original(ZT_E_FAIL, 1, ZT_E_FAIL);
    CZtHResult copy(original);
    ExpectLogged(0);
    EXPECT_EQ(static_cast<int&>(copy), ZT_E_FAIL);
    copy = ZT_E_INVALID_POINTER;
    ExpectLogged(1);
    EXPECT_EQ(static_cast<int&>(original), ZT_E_FAIL);

    CZtHResult unchecked(0);
    unchecked.AssignNoAssert(ZT_E_FAIL);
    ExpectLogged(1);
    const CZtHResult checked(unchecked);
    ExpectLogged(2);
}

TEST_F(HResult, AssignmentCopiesAllowedFailures)
{
    CZtHResult status(0, 1, ZT_E_INVALID_POINTER);
    {
        const CZtHResult other(ZT_E_FAIL, 1, ZT_E_FAIL);
        status = other;
        ExpectLogged(0);
        EXPECT_EQ(static_cast<int&>(status), ZT_E_FAIL);
    }
    const CZtHResult& self = status;
    status = self;
    EXPECT_EQ(static_cast<int&>(status), ZT_E_FAIL);
    status = ZT_E_FAIL; // its own copy: the other status is gone
    ExpectLogged(0);
    status = ZT_E_INVALID_POINTER;
    ExpectLogged(1);
}

TEST_F(HResult, AssignmentWithoutAllowedFailuresKeepsThem)
{
    CZtHResult status(0, 1, ZT_E_FAIL);
    CZtHResult other(0);
    other.AssignNoAssert(ZT_E_FAIL);
    status = other;
    ExpectLogged(0);
    other.AssignNoAssert(ZT_E_INVALID_POINTER);
    status = other;
    ExpectLogged(1);
}

} // namespace
