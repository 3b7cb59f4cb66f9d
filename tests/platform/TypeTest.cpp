// Registered types: what one declaration gives (accessors, order of attributes, building and
// reading by name, messages of refusals), counts of live objects and of references.
#include "orb/Type.h"

#include <gtest/gtest.h>

#include "orb/Array.h"
#include "orb/Dir.h"
#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "wire/EthAddr.h"
#include "wire/IntfId.h"
#include "wire/IpGenPrefix.h"

namespace TypeTest {

enum class Color : U8 { green = 3 };

class Port : public Orb::PtrInterface {
    ORB_TYPE(Port)
    ORB_CONSTRUCTIBLE(Port, Orb::String)
    ORB_KEY(name, Orb::String)
    ORB_ATTRIBUTE(speed, U64)

    explicit Port(Orb::String name) : name_(std::move(name)) {}
};

class Device : public Orb::PtrInterface {
    ORB_TYPE(Device)
    ORB_KEY(id, U32)
    ORB_ATTRIBUTE(enabled, bool)

    explicit Device(U32 id) : id_(id) {}
};

class Switch : public Device {
    ORB_DERIVED_TYPE(Switch, Device)
    ORB_CONSTRUCTIBLE(Switch, U32, const Orb::Ptr<const Port>&)
    ORB_ATTRIBUTE(uplink, Orb::Ptr<const Port>)
    ORB_ATTRIBUTE(zone, Orb::RbTreeMap<Orb::String, Color>)
    ORB_ATTRIBUTE(prefix, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_ATTRIBUTE(mac, Wire::EthAddr)
    ORB_ATTRIBUTE(slot, Orb::Array<Orb::Ptr<const Port>>)
    ORB_ATTRIBUTE(port, Orb::RbTreeMap<Orb::String, Orb::Ptr<Port>>)

    Switch(U32 id, const Orb::Ptr<const Port>& uplink) : Device(id), uplink_(uplink) {}
};

ORB_DEFINE_TYPE(Port)
ORB_DEFINE_TYPE(Device)
ORB_DEFINE_TYPE(Switch)

namespace {

using Orb::Ptr;
using Orb::Value;

const Orb::TypeInfo& typeOf(const char* name) {
    const Orb::TypeInfo* type = Orb::typeByName(name);
    EXPECT_NE(type, nullptr) << name;
    return *type;
}

Value valueOf(const Orb::PtrInterface& object, std::string_view attribute) {
    const Orb::Attribute* found = object.fwkType().attribute(attribute);
    EXPECT_NE(found, nullptr) << attribute;
    return found->value(object);
}

TEST(Type, listsAttributesInOrderOfDeclarationBaseFirst) {
    const auto attributes = typeOf("TypeTest::Switch").attributes();
    std::vector<std::string_view> names;
    names.reserve(attributes.size());
    for (const auto& attribute : attributes) names.push_back(attribute.name);
    EXPECT_EQ(names, (std::vector<std::string_view>{"id", "enabled", "uplink", "zone", "prefix",
                                                    "mac", "slot", "port"}));
    EXPECT_EQ(attributes[3].declaredType, "Orb::RbTreeMap<Orb::String, Color>");
    EXPECT_EQ(typeOf("TypeTest::Switch").base(), &typeOf("TypeTest::Device"));
    EXPECT_EQ(typeOf("TypeTest::Port").attribute("zone"), nullptr);
    EXPECT_EQ(Orb::typeByName("TypeTest::Router"), nullptr);
}

TEST(Type, buildsByNameAndReadsEveryKindOfAttribute) {
    const auto built = typeOf("TypeTest::Port").create({Orb::String("Ethernet1")});
    const auto port = Orb::ptrCast<Port>(built);
    ASSERT_TRUE(port);
    port->speedIs(100000000000U);
    EXPECT_EQ(std::get<U64>(valueOf(*built, "speed")), 100000000000U);

    // A pointer to a mutable record is taken where one to a constant record is wanted.
    const auto device = typeOf("TypeTest::Switch").create({U32{7}, port});
    const auto chassis = Orb::ptrCast<Switch>(device);
    ASSERT_TRUE(chassis);
    chassis->enabledIs(true);
    chassis->zoneIs("b", Color::green);
    chassis->zoneIs("a", Color::green);
    chassis->prefixIs(*Wire::IpGenPrefix::parse("10.0.0.0/8"));
    chassis->macIs(*Wire::EthAddr::parse("00:00:5e:00:00:01"));
    chassis->slotIs(1, port);

    EXPECT_EQ(std::get<U64>(valueOf(*device, "id")), 7U);
    EXPECT_TRUE(std::get<bool>(valueOf(*device, "enabled")));
    EXPECT_EQ(std::get<Ptr<const Orb::PtrInterface>>(valueOf(*device, "uplink")).get(), port.get());
    EXPECT_EQ(std::get<Orb::String>(valueOf(*device, "mac")), "00:00:5e:00:00:01");
    const auto zones = std::get<std::vector<Orb::ValueEntry>>(valueOf(*device, "zone"));
    ASSERT_EQ(zones.size(), 2U);
    EXPECT_EQ(std::get<Orb::String>(zones[0].key), "a");
    EXPECT_EQ(std::get<U64>(zones[0].value), 3U);
    const auto prefixes = std::get<std::vector<Orb::ValueEntry>>(valueOf(*device, "prefix"));
    ASSERT_EQ(prefixes.size(), 1U);
    EXPECT_EQ(std::get<Orb::String>(prefixes[0].key), "10.0.0.0/8");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(prefixes[0].value));
    const auto slots = std::get<std::vector<Orb::ValueEntry>>(valueOf(*device, "slot"));
    ASSERT_EQ(slots.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(slots[0].value));
    EXPECT_EQ(std::get<U64>(slots[1].key), 1U);
}

TEST(Type, collectionsOfRecordsMakeTheirRecords) {
    const auto chassis = Orb::make<Switch>(1U, nullptr);
    const Ptr<Port> made = chassis->portIs("Ethernet1");
    EXPECT_EQ(made->name(), "Ethernet1");
    EXPECT_EQ(chassis->portIs("Ethernet1"), made);
    EXPECT_EQ(chassis->port("Ethernet1"), made.get());
    EXPECT_EQ(chassis->port("Ethernet2"), nullptr);
    const auto own = Orb::make<Port>("Ethernet2");
    chassis->portIs(own);
    EXPECT_EQ(chassis->port("Ethernet2"), own.get());
    chassis->portDel("Ethernet1");
    EXPECT_EQ(chassis->port().size(), 1U);
    chassis->portDelAll();
    EXPECT_TRUE(chassis->port().empty());
}

TEST(Type, saysWhichArgumentsItExpected) {
    const auto port = Orb::make<Port>("Ethernet1");
    struct {
        const char* type;
        std::vector<std::any> arguments;
        std::string message;
    } const rows[] = {
        {"TypeTest::Device", {U32{1}}, "TypeTest::Device cannot be built by name"},
        {"TypeTest::Switch", {}, "TypeTest::Switch takes 2 arguments, not 0"},
        {"TypeTest::Switch", {U32{1}}, "TypeTest::Switch takes 2 arguments, not 1"},
        {"TypeTest::Switch", {1, port}, "TypeTest::Switch: argument 1 is of another type"},
        {"TypeTest::Switch",
         {U32{1}, Orb::String("x")},
         "TypeTest::Switch: argument 2 is of another type"},
        {"TypeTest::Port", {"literal"}, "TypeTest::Port: argument 1 is of another type"},
    };
    for (const auto& row : rows) {
        try {
            typeOf(row.type).create(Orb::TypeInfo::Arguments(row.arguments));
            ADD_FAILURE() << "built: " << row.message;
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(error.what(), row.message);
        }
    }
    EXPECT_TRUE(typeOf("TypeTest::Switch").create({U32{1}, nullptr}));
}

TEST(Type, countsLiveObjectsWithThoseOfDerivedTypes) {
    const U64 devices = Device::orbType().liveCount();
    const U64 switches = Switch::orbType().liveCount();
    {
        const auto device = Orb::make<Device>(1U);
        const auto chassis = Orb::make<Switch>(2U, nullptr);
        EXPECT_EQ(Device::orbType().liveCount(), devices + 2);
        EXPECT_EQ(Switch::orbType().liveCount(), switches + 1);
        EXPECT_EQ(&Ptr<Device>(chassis)->fwkType(), &Switch::orbType());
    }
    EXPECT_EQ(Device::orbType().liveCount(), devices);
    EXPECT_EQ(Switch::orbType().liveCount(), switches);
}

TEST(Ptr, countsReferencesThroughCopiesMovesAndCasts) {
    const U64 live = Port::orbType().liveCount();
    Ptr<Port> first = Orb::make<Port>("Ethernet1");
    Ptr<const Port> constant = first;
    Ptr<Orb::PtrInterface> base = first;
    EXPECT_EQ(first->references(), 3U);
    EXPECT_EQ(Orb::ptrCast<Port>(base), first);
    EXPECT_FALSE(Orb::ptrCast<Device>(base));
    const Ptr<Orb::PtrInterface> moved = std::move(base);
    EXPECT_EQ(first->references(), 3U);
    const Ptr<Port>& same = first;
    first = same;
    EXPECT_EQ(first->references(), 3U);
    first = nullptr;
    EXPECT_EQ(constant->references(), 2U);
    constant = nullptr;
    EXPECT_EQ(moved->references(), 1U);
    EXPECT_EQ(Port::orbType().liveCount(), live + 1);
}

}  // namespace
}  // namespace TypeTest
