// How the mux operations pass their operands from the entry point to the worker.

#include "tests/engine/mux_fixture.h"

namespace zta::test {
namespace {

class MuxOperands : public MuxTest {
protected:
    void SetUp() override
    {
        MuxTest::SetUp();
        Build(Pcm16(1), 4, Pcm16(4), 1);
    }

    void TearDown() override { Object().ReleaseAllSavedInfo(); }

    int Save(unsigned long count, unsigned long volumeCount)
    {
        return Object().SaveInfoMux(mux_.Get(), nullptr, pointers_.data(), count, volumes_.data(), volumeCount);
    }

    /// The outputs of GetInfoMux, with marks that it overwrites.
    struct Operands {
        IZtAudioSamples* input = reinterpret_cast<IZtAudioSamples*>(1);
        IZtAudioSamples* output = reinterpret_cast<IZtAudioSamples*>(1);
        std::vector<IZtAudioSamples*> buffers =
            std::vector<IZtAudioSamples*>(64, reinterpret_cast<IZtAudioSamples*>(1));
        unsigned long count = 64;
        std::vector<SZtAudioMonoVolumeInfo> volumes = std::vector<SZtAudioMonoVolumeInfo>(64, {99, 9.0F, 9.0F});
        unsigned long volumeCount = 64;
    };

    int Load(Operands& loaded)
    {
        return Object().GetInfoMux(&loaded.input, &loaded.output, loaded.buffers.data(), &loaded.count,
                                   loaded.volumes.data(), &loaded.volumeCount);
    }

    static void ExpectNothingWritten(const Operands& loaded, unsigned long count, unsigned long volumeCount)
    {
        const Operands untouched;
        EXPECT_EQ(loaded.input, untouched.input);
        EXPECT_EQ(loaded.output, untouched.output);
        EXPECT_EQ(loaded.buffers, untouched.buffers);
        EXPECT_EQ(loaded.volumes[0].ulChannelRef, 99U);
        EXPECT_EQ(loaded.count, count);
        EXPECT_EQ(loaded.volumeCount, volumeCount);
    }
};

TEST_F(MuxOperands, AreSavedWithAReferenceEachAndLoadedWithoutOne)
{
    UseVolumes({{7, 0.25F, 0.5F}, {8, 1.0F, 2.0F}});
    EXPECT_EQ(Save(3, 2), 0);
    EXPECT_EQ(mux_->References(), 2);
    EXPECT_EQ(array_[2]->References(), 2);
    EXPECT_EQ(array_[3]->References(), 1) << "beyond the count";

    Operands loaded;
    EXPECT_EQ(Load(loaded), 0);
    EXPECT_EQ(loaded.input, mux_.Get());
    EXPECT_EQ(loaded.output, nullptr);
    EXPECT_EQ(loaded.count, 3U);
    EXPECT_EQ(loaded.volumeCount, 2U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(loaded.buffers[i], array_[i].Get());
    }
    EXPECT_EQ(loaded.buffers[3], Operands().buffers[3]) << "only what is in use is written";
    EXPECT_EQ(loaded.volumes[1].ulChannelRef, 8U);
    EXPECT_EQ(loaded.volumes[1].fStartVolume, 1.0F);
    EXPECT_EQ(loaded.volumes[1].fEndVolume, 2.0F);
    EXPECT_EQ(loaded.volumes[2].ulChannelRef, 99U);
    EXPECT_EQ(mux_->References(), 2);
    EXPECT_EQ(array_[2]->References(), 2);
}

TEST_F(MuxOperands, ReplaceTheOnesBeforeThem)
{
    EXPECT_EQ(Save(4, 0), 0);
    auto other = Make("other", Pcm16(1), 1);
    IZtAudioSamples* one[] = {other.Get()};
    EXPECT_EQ(Object().SaveInfoMux(nullptr, other.Get(), one, 1, nullptr, 0), 0);
    EXPECT_EQ(mux_->References(), 1) << "the operand that the operation does not have is cleared";
    for (const auto& buffer : array_) {
        EXPECT_EQ(buffer->References(), 1);
    }
    EXPECT_EQ(other->References(), 3);
    EXPECT_EQ(SZtLayoutProbe::SavedBuffer(Object(), 1), nullptr);

    Operands loaded;
    EXPECT_EQ(Load(loaded), 0);
    EXPECT_EQ(loaded.input, nullptr);
    EXPECT_EQ(loaded.output, other.Get());
    EXPECT_EQ(loaded.count, 1U);
    Object().ReleaseAllSavedInfo();
    ExpectAtRest({other.Get(), mux_.Get()});
}

TEST_F(MuxOperands, KeepTheFirst64Buffers)
{
    std::vector<IZtAudioSamples*> many(66, array_[0].Get());
    EXPECT_EQ(Object().SaveInfoMux(mux_.Get(), nullptr, many.data(), many.size(), nullptr, 0), 0);
    EXPECT_EQ(array_[0]->References(), 65);
    EXPECT_EQ(mux_->References(), 2);
    Operands loaded;
    EXPECT_EQ(Load(loaded), ZT_E_ARRAY_TOO_SMALL);
    ExpectNothingWritten(loaded, 64, 64);
    Object().ReleaseAllSavedInfo();
    ExpectAtRest({array_[0].Get(), mux_.Get()});
}

TEST_F(MuxOperands, KeepTheChannelReferenceOfUnusedRecordsAndClearTheirGains)
{
    UseVolumes({{1, 1.0F, 2.0F}, {2, 3.0F, 4.0F}, {3, 5.0F, 6.0F}});
    EXPECT_EQ(Save(4, 3), 0);
    EXPECT_EQ(Save(4, 1), 0);
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 0).fEndVolume, 2.0F);
    for (const std::size_t slot : {1U, 2U, 3U, 63U}) {
        EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), slot).fStartVolume, 0.0F);
        EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), slot).fEndVolume, 0.0F);
    }
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 1).ulChannelRef, 2U);
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 2).ulChannelRef, 3U);
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 3).ulChannelRef, 0U);
}

TEST_F(MuxOperands, ClearTheGainsThatAnIncompleteSaveLeft)
{
    UseVolumes({{1, 1.0F, 1.0F}, {2, 1.0F, 1.0F}, {3, 1.0F, 1.0F}, {4, 1.0F, 1.0F}});
    EXPECT_EQ(Save(4, 4), 0);
    IZtAudioSamples* const second = pointers_[1];
    RemoveBuffer(1);
    EXPECT_EQ(Save(4, 1), ZT_E_INVALID_PARAMETER);
    pointers_[1] = second;
    const auto StartGain = [&](std::size_t slot) { return SZtLayoutProbe::SavedVolume(Object(), slot).fStartVolume; };
    EXPECT_EQ(StartGain(1), 0.0F) << "the slot without a buffer";
    EXPECT_EQ(StartGain(2), 1.0F) << "as it was";
    EXPECT_EQ(StartGain(3), 1.0F) << "as it was";
    EXPECT_EQ(Save(4, 1), 0);
    EXPECT_EQ(StartGain(2), 0.0F);
    EXPECT_EQ(StartGain(3), 0.0F);
}

TEST_F(MuxOperands, EndAtAMissingBuffer)
{
    auto before = Make("before", Pcm16(4), 1);
    UseVolumes({{1, 1.0F, 1.0F}, {2, 1.0F, 1.0F}, {3, 1.0F, 1.0F}, {4, 1.0F, 1.0F}});
    EXPECT_EQ(Object().SaveInfoMux(nullptr, before.Get(), pointers_.data(), 4, volumes_.data(), 4), 0);
    for (SZtAudioMonoVolumeInfo& volume : volumes_) {
        volume.ulChannelRef += 10;
    }
    IZtAudioSamples* third = pointers_[2];
    RemoveBuffer(2);
    EXPECT_EQ(Save(4, 4), ZT_E_INVALID_PARAMETER);
    pointers_[2] = third;

    EXPECT_EQ(SZtLayoutProbe::SavedBuffer(Object(), 1), array_[1].Get());
    EXPECT_EQ(SZtLayoutProbe::SavedBuffer(Object(), 2), nullptr);
    EXPECT_EQ(SZtLayoutProbe::SavedBuffer(Object(), 3), array_[3].Get()) << "as it was";
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 2).ulChannelRef, 13U)
        << "the record of a slot is saved before its buffer";
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 3).ulChannelRef, 4U);
    EXPECT_EQ(mux_->References(), 1) << "the single operands are not reached";
    EXPECT_EQ(before->References(), 2);
    EXPECT_EQ(array_[1]->References(), 2);
    EXPECT_EQ(array_[2]->References(), 1);
    Object().ReleaseAllSavedInfo();
    ExpectAtRest({before.Get()});
    ExpectSettled();
}

TEST_F(MuxOperands, NeedArraysForAllThatAreInUse)
{
    UseVolumes(3);
    EXPECT_EQ(Save(4, 3), 0);
    Operands few;
    few.count = 3;
    EXPECT_EQ(Load(few), ZT_E_ARRAY_TOO_SMALL);
    ExpectNothingWritten(few, 3, 64);
    Operands fewVolumes;
    fewVolumes.volumeCount = 2;
    EXPECT_EQ(Load(fewVolumes), ZT_E_ARRAY_TOO_SMALL);
    ExpectNothingWritten(fewVolumes, 64, 2);
    Operands enough;
    enough.count = 4;
    enough.volumeCount = 3;
    EXPECT_EQ(Load(enough), 0);
}

TEST_F(MuxOperands, CannotBeLoadedWithoutBothCounts)
{
    EXPECT_EQ(Save(4, 0), 0);
    Operands loaded;
    EXPECT_EQ(Object().GetInfoMux(&loaded.input, &loaded.output, loaded.buffers.data(), nullptr, loaded.volumes.data(),
                                  &loaded.volumeCount),
              ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(Object().GetInfoMux(&loaded.input, &loaded.output, loaded.buffers.data(), &loaded.count,
                                  loaded.volumes.data(), nullptr),
              ZT_E_INVALID_PARAMETER);
    ExpectNothingWritten(loaded, 64, 64);
}

TEST_F(MuxOperands, BeyondSixtyFourVolumesAreCountedButNotKept)
{
    UseVolumes(65);
    EXPECT_EQ(Save(4, 65), 0);
    Operands loaded;
    EXPECT_EQ(Load(loaded), ZT_E_ARRAY_TOO_SMALL);
    ExpectNothingWritten(loaded, 64, 64);
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 63).fStartVolume, 1.0F);
}

TEST_F(MuxOperands, AreCopiesOfTheVolumesThatStayWithTheCountWhenReleased)
{
    UseVolumes({{1, 1.0F, 2.0F}});
    EXPECT_EQ(Save(4, 1), 0);
    volumes_[0].fEndVolume = 5.0F;
    EXPECT_EQ(Object().ReleaseAllSavedInfo(), 0);
    EXPECT_EQ(SZtLayoutProbe::SavedBufferCount(Object()), 4U);
    EXPECT_EQ(SZtLayoutProbe::SavedVolume(Object(), 0).fEndVolume, 2.0F);
    ExpectSettled();
}

} // namespace
} // namespace zta::test
