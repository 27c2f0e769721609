#include "simulator/array/operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZavSim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OperationsTest : public ::testing::Test {
protected:
    /// The code that the operation is refused with; Success when it is not.
    template <typename Operation>
    Code CodeOf(Operation operation)
    {
        try {
            operation();
            return Code::Success;
        } catch (const Refusal& refusal) {
            text = refusal.what();
            return refusal.GetCode();
        }
    }

    std::string Make(Kind kind, const std::string& name) { return CreateObject(state, kind, name, ""); }

    State state{10};
    std::string text; ///< of the last refusal
    const std::string iqn = "iqn.2020-01.example.node:1";
};

TEST_F(OperationsTest, CreateGivesEachKindItsOwnIdsThatAreNeverUsedAgain)
{
    EXPECT_EQ("1", Make(Kind::Host, "a"));
    EXPECT_EQ("2", Make(Kind::Host, "b"));
    EXPECT_EQ("1", Make(Kind::HostGroup, "a"));
    DeleteObject(state, Kind::Host, "2");
    EXPECT_EQ("3", Make(Kind::Host, "b"));
}

TEST_F(OperationsTest, CreateGivesTheLowestFreeIdWhereIdsAreReused)
{
    state.SetIdReuse(true);
    for (const char* const name : {"a", "b", "c"}) {
        Make(Kind::LunGroup, name);
    }
    DeleteObject(state, Kind::LunGroup, "1");
    DeleteObject(state, Kind::LunGroup, "3");
    EXPECT_EQ("1", Make(Kind::LunGroup, "d"));
    EXPECT_EQ("3", Make(Kind::LunGroup, "e"));
    EXPECT_EQ("4", Make(Kind::LunGroup, "f"));
}

TEST_F(OperationsTest, CreateWithATakenNameIsRefusedAndNamesIt)
{
    Make(Kind::Host, "twin");
    EXPECT_EQ(Code::NameTaken, CodeOf([&] { Make(Kind::Host, "twin"); }));
    EXPECT_THAT(text, HasSubstr("host \"twin\""));
    EXPECT_EQ(1U, state.ObjectsOf(Kind::Host).size());
    EXPECT_EQ("1", Make(Kind::LunGroup, "twin")) << "another kind may use the name";
}

TEST_F(OperationsTest, CreateAcceptsNamesOf1To255BytesOnly)
{
    EXPECT_EQ(Code::ParameterBad, CodeOf([&] { Make(Kind::Host, ""); }));
    EXPECT_EQ(Code::ParameterBad, CodeOf([&] { Make(Kind::Host, std::string(256, 'x')); }));
    EXPECT_EQ(Code::ParameterBad, CodeOf([&] { Make(Kind::Host, "line\nend"); }));
    EXPECT_THAT(state.ObjectsOf(Kind::Host), IsEmpty());
    EXPECT_EQ(Code::Success, CodeOf([&] { Make(Kind::Host, std::string(255, 'x')); }));
}

TEST_F(OperationsTest, CreateSnapshotNeedsAnExistingLun)
{
    EXPECT_EQ(Code::LunGone, CodeOf([&] { CreateObject(state, Kind::Snapshot, "s", "10"); }));
    EXPECT_EQ(Code::LunGone, CodeOf([&] { CreateObject(state, Kind::Snapshot, "s", "01"); }));
    const std::string id = CreateObject(state, Kind::Snapshot, "s", "9");
    EXPECT_EQ("9", state.Find(Kind::Snapshot, id)->parent);
}

TEST_F(OperationsTest, RegisterInitiatorTwiceIsRefused)
{
    RegisterInitiator(state, Kind::IscsiInitiator, iqn);
    EXPECT_EQ(Code::InitiatorExists, CodeOf([&] { RegisterInitiator(state, Kind::IscsiInitiator, iqn); }));
    EXPECT_THAT(text, HasSubstr(iqn));
}

TEST_F(OperationsTest, RegisterInitiatorWithAMalformedIdIsRefused)
{
    for (const char* const id : {"", "node", "iqn.with blank", "iqn.with\ttab"}) {
        EXPECT_EQ(Code::ParameterBad, CodeOf([&] { RegisterInitiator(state, Kind::IscsiInitiator, id); })) << id;
    }
    for (const char* const id : {"", "2100", "21000024ff4b8c1g", "0x21000024ff4b8c1a"}) {
        EXPECT_EQ(Code::ParameterBad, CodeOf([&] { RegisterInitiator(state, Kind::FcInitiator, id); })) << id;
    }
    EXPECT_THAT(state.ObjectsOf(Kind::IscsiInitiator), IsEmpty());
    EXPECT_THAT(state.ObjectsOf(Kind::FcInitiator), IsEmpty());
}

TEST_F(OperationsTest, HostInAGroupOrWithInitiatorsCannotBeDeleted)
{
    const std::string host = Make(Kind::Host, "h");
    const std::string group = Make(Kind::HostGroup, "g");
    RegisterInitiator(state, Kind::IscsiInitiator, iqn);
    Associate(state, Kind::HostGroup, group, Kind::Host, host);
    Associate(state, Kind::Host, host, Kind::IscsiInitiator, iqn);

    EXPECT_EQ(Code::HostInHostGroup, CodeOf([&] { DeleteObject(state, Kind::Host, host); }));
    Dissociate(state, Kind::HostGroup, group, Kind::Host, host);
    EXPECT_EQ(Code::HostHasInitiators, CodeOf([&] { DeleteObject(state, Kind::Host, host); }));
    RemoveFromHost(state, Kind::IscsiInitiator, iqn);
    EXPECT_EQ(Code::Success, CodeOf([&] { DeleteObject(state, Kind::Host, host); }));
    EXPECT_TRUE(state.Has(Kind::IscsiInitiator, iqn)) << "the initiator stays registered";
}

TEST_F(OperationsTest, GroupThatIsMappedOrNotEmptyCannotBeDeleted)
{
    const std::string hosts = Make(Kind::HostGroup, "hg");
    const std::string luns = Make(Kind::LunGroup, "lg");
    const std::string view = Make(Kind::MappingView, "v");
    const std::string host = Make(Kind::Host, "h");
    Associate(state, Kind::HostGroup, hosts, Kind::Host, host);
    Associate(state, Kind::LunGroup, luns, Kind::Lun, "3");
    Associate(state, Kind::MappingView, view, Kind::HostGroup, hosts);
    Associate(state, Kind::MappingView, view, Kind::LunGroup, luns);

    EXPECT_EQ(Code::HostGroupMapped, CodeOf([&] { DeleteObject(state, Kind::HostGroup, hosts); }));
    EXPECT_EQ(Code::LunGroupMapped, CodeOf([&] { DeleteObject(state, Kind::LunGroup, luns); }));
    EXPECT_EQ(Code::MappingViewNotEmpty, CodeOf([&] { DeleteObject(state, Kind::MappingView, view); }));
    Dissociate(state, Kind::MappingView, view, Kind::HostGroup, hosts);
    Dissociate(state, Kind::MappingView, view, Kind::LunGroup, luns);
    EXPECT_EQ(Code::HostGroupNotEmpty, CodeOf([&] { DeleteObject(state, Kind::HostGroup, hosts); }));
    EXPECT_EQ(Code::LunGroupNotEmpty, CodeOf([&] { DeleteObject(state, Kind::LunGroup, luns); }));
    Dissociate(state, Kind::HostGroup, hosts, Kind::Host, host);
    Dissociate(state, Kind::LunGroup, luns, Kind::Lun, "3");
    for (const auto& [kind, id] : {std::pair(Kind::HostGroup, hosts), std::pair(Kind::LunGroup, luns),
                                   std::pair(Kind::MappingView, view), std::pair(Kind::Host, host)}) {
        EXPECT_EQ(Code::Success, CodeOf([&, k = kind, i = id] { DeleteObject(state, k, i); })) << Naming(kind, id);
    }
}

TEST_F(OperationsTest, DeleteOfWhatIsGoneAnswersTheKindsOwnCode)
{
    EXPECT_EQ(Code::HostGone, CodeOf([&] { DeleteObject(state, Kind::Host, "1"); }));
    EXPECT_EQ(Code::HostGroupGone, CodeOf([&] { DeleteObject(state, Kind::HostGroup, "1"); }));
    EXPECT_EQ(Code::LunGroupGone, CodeOf([&] { DeleteObject(state, Kind::LunGroup, "1"); }));
    EXPECT_EQ(Code::MappingViewGone, CodeOf([&] { DeleteObject(state, Kind::MappingView, "1"); }));
}

TEST_F(OperationsTest, InitiatorBelongsToOneHostAtMost)
{
    const std::string first = Make(Kind::Host, "a");
    const std::string second = Make(Kind::Host, "b");
    RegisterInitiator(state, Kind::IscsiInitiator, iqn);
    Associate(state, Kind::Host, first, Kind::IscsiInitiator, iqn);
    EXPECT_EQ(Code::InitiatorHasHost, CodeOf([&] { Associate(state, Kind::Host, second, Kind::IscsiInitiator, iqn); }));
    EXPECT_EQ(Code::InitiatorHasHost, CodeOf([&] { Associate(state, Kind::Host, first, Kind::IscsiInitiator, iqn); }));
    EXPECT_THAT(Members(state, Kind::Host, first, Kind::IscsiInitiator), ElementsAre(iqn));
    EXPECT_THAT(Members(state, Kind::Host, second, Kind::IscsiInitiator), IsEmpty());
}

TEST_F(OperationsTest, MappingViewHoldsOneGroupOfEachKind)
{
    const std::string view = Make(Kind::MappingView, "v");
    const std::string hosts = Make(Kind::HostGroup, "a");
    const std::string moreHosts = Make(Kind::HostGroup, "b");
    const std::string luns = Make(Kind::LunGroup, "a");
    const std::string moreLuns = Make(Kind::LunGroup, "b");
    Associate(state, Kind::MappingView, view, Kind::HostGroup, hosts);
    Associate(state, Kind::MappingView, view, Kind::LunGroup, luns);
    EXPECT_EQ(Code::AlreadyAssociated,
              CodeOf([&] { Associate(state, Kind::MappingView, view, Kind::HostGroup, hosts); }));
    EXPECT_EQ(Code::MappingViewHasHostGroup,
              CodeOf([&] { Associate(state, Kind::MappingView, view, Kind::HostGroup, moreHosts); }));
    EXPECT_EQ(Code::MappingViewHasLunGroup,
              CodeOf([&] { Associate(state, Kind::MappingView, view, Kind::LunGroup, moreLuns); }));
}

TEST_F(OperationsTest, DissociateTellsGoneObjectsFromThoseNotAssociated)
{
    const std::string view = Make(Kind::MappingView, "v");
    const std::string hosts = Make(Kind::HostGroup, "hg");
    const std::string luns = Make(Kind::LunGroup, "lg");
    const std::string host = Make(Kind::Host, "h");
    const auto part = [&](Kind container, const std::string& id, Kind member, const std::string& memberId) {
        return CodeOf([&] { Dissociate(state, container, id, member, memberId); });
    };
    EXPECT_EQ(Code::HostGroupNotInMappingView, part(Kind::MappingView, view, Kind::HostGroup, hosts));
    EXPECT_EQ(Code::LunGroupNotInMappingView, part(Kind::MappingView, view, Kind::LunGroup, luns));
    EXPECT_EQ(Code::HostNotInHostGroup, part(Kind::HostGroup, hosts, Kind::Host, host));
    EXPECT_EQ(Code::NotInLunGroup, part(Kind::LunGroup, luns, Kind::Lun, "1"));
    EXPECT_EQ(Code::NotInLunGroup, part(Kind::LunGroup, luns, Kind::Snapshot, "1"));
    EXPECT_EQ(Code::HostGroupGone, part(Kind::MappingView, view, Kind::HostGroup, "9"));
    EXPECT_EQ(Code::LunGroupGone, part(Kind::MappingView, view, Kind::LunGroup, "9"));
    EXPECT_EQ(Code::MappingViewGone, part(Kind::MappingView, "9", Kind::LunGroup, luns));
    EXPECT_EQ(Code::HostGone, part(Kind::HostGroup, hosts, Kind::Host, "9"));
    EXPECT_EQ(Code::HostGroupGone, part(Kind::HostGroup, "9", Kind::Host, host));
    EXPECT_EQ(Code::LunGroupGone, part(Kind::LunGroup, "9", Kind::Lun, "1"));
    EXPECT_EQ(Code::NotInLunGroup, part(Kind::LunGroup, luns, Kind::Lun, "99"));
}

TEST_F(OperationsTest, RemoveFromHostOfAFreeOrUnknownInitiatorSaysItIsNotOnTheHost)
{
    RegisterInitiator(state, Kind::FcInitiator, "21000024ff4b8c1a");
    EXPECT_EQ(Code::InitiatorNotOnHost, CodeOf([&] { RemoveFromHost(state, Kind::FcInitiator, "21000024ff4b8c1a"); }));
    EXPECT_EQ(Code::InitiatorNotOnHost, CodeOf([&] { RemoveFromHost(state, Kind::IscsiInitiator, iqn); }));
}

TEST_F(OperationsTest, ObjectsThatCannotBeJoinedAreRefused)
{
    const std::string view = Make(Kind::MappingView, "v");
    EXPECT_EQ(Code::ParameterBad, CodeOf([&] { Associate(state, Kind::MappingView, view, Kind::Lun, "1"); }));
    EXPECT_THAT(text, HasSubstr("a mapping view cannot hold a LUN"));
}

TEST_F(OperationsTest, RemoveBehindTheBackEndsAllAssociations)
{
    const std::string host = Make(Kind::Host, "h");
    const std::string group = Make(Kind::HostGroup, "g");
    const std::string view = Make(Kind::MappingView, "v");
    RegisterInitiator(state, Kind::IscsiInitiator, iqn);
    Associate(state, Kind::HostGroup, group, Kind::Host, host);
    Associate(state, Kind::Host, host, Kind::IscsiInitiator, iqn);
    Associate(state, Kind::MappingView, view, Kind::HostGroup, group);

    state.Remove(Kind::Host, host);
    EXPECT_FALSE(state.Has(Kind::Host, host));
    EXPECT_THAT(Members(state, Kind::HostGroup, group, Kind::Host), IsEmpty());
    EXPECT_THAT(state.ContainersOf(Kind::IscsiInitiator, iqn, Kind::Host), IsEmpty());
    state.Remove(Kind::HostGroup, group);
    EXPECT_THAT(Members(state, Kind::MappingView, view, Kind::HostGroup), IsEmpty());
    EXPECT_EQ(Code::Success, CodeOf([&] { Make(Kind::Host, "h"); })) << "its name is free again";
}

TEST_F(OperationsTest, RemovedLunTakesItsSnapshotsAlongAndLeavesItsGroups)
{
    const std::string luns = Make(Kind::LunGroup, "lg");
    const std::string snapshot = CreateObject(state, Kind::Snapshot, "s", "4");
    const std::string other = CreateObject(state, Kind::Snapshot, "t", "5");
    Associate(state, Kind::LunGroup, luns, Kind::Lun, "4");
    Associate(state, Kind::LunGroup, luns, Kind::Snapshot, snapshot);
    state.Remove(Kind::Lun, "4");
    EXPECT_FALSE(state.Has(Kind::Lun, "4"));
    EXPECT_FALSE(state.Has(Kind::Snapshot, snapshot));
    EXPECT_TRUE(state.Has(Kind::Snapshot, other));
    EXPECT_EQ(Code::Success, CodeOf([&] { DeleteObject(state, Kind::LunGroup, luns); }));
}

TEST_F(OperationsTest, PortsAreKeptInLowerCaseAndNeedNotBeRegistered)
{
    SetPortOnline(state, "21000024FF4B8C1A", true);
    EXPECT_THAT(state.OnlinePorts(), ElementsAre("21000024ff4b8c1a"));
    EXPECT_EQ("21000024ff4b8c1a", CanonicalId(Kind::FcInitiator, "21000024FF4B8C1A"));
    EXPECT_EQ("IQN.x", CanonicalId(Kind::IscsiInitiator, "IQN.x"));
    EXPECT_EQ(Code::ParameterBad, CodeOf([&] { SetPortOnline(state, "short", true); }));
    SetPortOnline(state, "21000024ff4b8c1a", false);
    EXPECT_THAT(state.OnlinePorts(), IsEmpty());
}

TEST(StateLunsTest, PagesSkipDeletedLunsAndEndWithTheLast)
{
    State state(8);
    EXPECT_THAT(state.LunsAt(0, 3), ElementsAre(0, 1, 2));
    EXPECT_THAT(state.LunsAt(6, 100), ElementsAre(6, 7));
    EXPECT_THAT(state.LunsAt(8, 100), IsEmpty());
    EXPECT_THAT(state.LunsAt(3, 3), IsEmpty());
    for (const char* const lun : {"0", "3", "4"}) {
        state.Remove(Kind::Lun, lun);
    }
    EXPECT_EQ(5U, state.LunCount());
    EXPECT_THAT(state.LunsAt(0, 5), ElementsAre(1, 2, 5, 6, 7));
    EXPECT_THAT(state.LunsAt(2, 4), ElementsAre(5, 6));
    EXPECT_THAT(state.LunsAt(4, 5), ElementsAre(7));
}

TEST(StateIdsTest, IdsOrderByValue)
{
    State state(0);
    for (int i = 1; i <= 11; ++i) {
        CreateObject(state, Kind::Host, "h" + std::to_string(i), "");
    }
    EXPECT_EQ("11", state.ObjectsOf(Kind::Host).rbegin()->first);
    EXPECT_EQ("10", std::next(state.ObjectsOf(Kind::Host).rbegin())->first);
}

TEST(ParseNumberTest, AcceptsCanonicalDecimalsOnly)
{
    EXPECT_EQ(0U, ParseNumber("0"));
    EXPECT_EQ(18446744073709551615U, ParseNumber("18446744073709551615"));
    for (const char* const text : {"", "01", "+1", "-1", "1 ", " 1", "1a", "18446744073709551616"}) {
        EXPECT_FALSE(ParseNumber(text)) << text;
    }
}

} // namespace
} // namespace ZavSim
