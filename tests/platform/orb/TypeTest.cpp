// Registered types: what one declaration gives (accessors, order of attributes, building and
// reading by name, messages of refusals), counts of live objects and of references.
#include "orb/Type.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "names/AclNameMap.h"
#include "orb/Array.h"
#include "orb/Dir.h"
#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "orb/Singleton.h"
#include "wire/EthAddr.h"
#include "wire/IntfId.h"
#include "wire/IpGenPrefix.h"

namespace TypeTest {

enum class Color : U8 { green = 3 };

class Port : public Orb::PtrInterface {
    ORB_KEYED_TYPE(Port, name, Orb::String)
    ORB_ATTRIBUTE(speed, U64)
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

TEST(Type, knowsItsBaseAndWhatWasDeclared) {
    const auto attributes = typeOf("TypeTest::Switch").attributes();
    EXPECT_EQ(attributes[3].declaredType, "Orb::RbTreeMap<Orb::String, Color>");
    EXPECT_EQ(typeOf("TypeTest::Switch").base(), &typeOf("TypeTest::Device"));
    EXPECT_EQ(typeOf("TypeTest::Switch").attribute("zone")->name, "zone");
    EXPECT_EQ(typeOf("TypeTest::Port").attribute("zone"), nullptr);
    EXPECT_EQ(Orb::typeByName("TypeTest::Router"), nullptr);
}

// A value as text: of collections every entry, of objects their type.
std::string shown(const Value& value) {
    if (const auto* number = std::get_if<U64>(&value)) return std::to_string(*number);
    if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
    if (const auto* text = std::get_if<Orb::String>(&value)) return *text;
    if (const auto* object = std::get_if<Ptr<const Orb::PtrInterface>>(&value)) {
        return (*object)->fwkType().name();
    }
    std::string text;
    if (const auto* entries = std::get_if<std::vector<Orb::ValueEntry>>(&value)) {
        for (const auto& [key, entry] : *entries) text += shown(key) + ":" + shown(entry) + " ";
    }
    return text;
}

TEST(Type, buildsByNameAndReadsEveryKindOfAttribute) {
    const auto port = Orb::ptrCast<Port>(typeOf("TypeTest::Port").create({Orb::String("E1")}));
    ASSERT_TRUE(port);
    // A pointer to a mutable record is taken where one to a constant record is wanted.
    const auto device = typeOf("TypeTest::Switch").create({U32{7}, port});
    const auto chassis = Orb::ptrCast<Switch>(device);
    ASSERT_TRUE(chassis);
    EXPECT_EQ(chassis->uplink().get(), port.get());
    chassis->enabledIs(true);
    const Color& zone = chassis->zoneIs("b", Color::green);
    EXPECT_EQ(&zone, chassis->zone("b"));
    chassis->zoneIs("a", Color::green);
    chassis->prefixIs(*Wire::IpGenPrefix::parse("10.0.0.0/8"));
    chassis->macIs(*Wire::EthAddr::parse("00:00:5e:00:00:01"));
    chassis->slotIs(1, port);
    std::string all;
    for (const auto& attribute : device->fwkType().attributes()) {
        all += std::string(attribute.name) + "=" + shown(attribute.value(*device)) + "; ";
    }
    EXPECT_EQ(all,
              "id=7; enabled=true; uplink=TypeTest::Port; zone=a:3 b:3 ; prefix=10.0.0.0/8: ; "
              "mac=00:00:5e:00:00:01; slot=0: 1:TypeTest::Port ; port=; ");
}

TEST(Type, collectionsOfRecordsMakeTheirRecords) {
    const auto chassis = Orb::make<Switch>(1U, nullptr);
    const Ptr<Port> made = chassis->portIs("Ethernet1");
    EXPECT_EQ(made->name(), "Ethernet1");
    EXPECT_EQ(chassis->portIs("Ethernet1"), made);
    const auto own = Orb::make<Port>("Ethernet2");
    EXPECT_EQ(chassis->portIs(own), own);
    EXPECT_EQ(chassis->port("Ethernet2"), own.get());
    chassis->portDel("Ethernet1");
    EXPECT_EQ(chassis->port("Ethernet1"), nullptr);
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
        {"TypeTest::Switch", {U32{1}}, "TypeTest::Switch takes 2 arguments, not 1"},
        {"TypeTest::Switch", {1, port}, "TypeTest::Switch: argument 1 is of another type"},
        {"TypeTest::Switch", {U32{1}, 2}, "TypeTest::Switch: argument 2 is of another type"},
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

TEST(Type, comparesRecordsByWhatTheyHold) {
    const auto filled = [](bool isReversed) {
        const Ptr<Switch> box = new Switch(1, new Port("et1"));
        box->enabledIs(true);
        box->zoneIs("a", Color::green);
        box->slotIs(1, Ptr<const Port>(new Port("et2")));
        box->portIs("et3")->speedIs(10);
        for (U32 i = 0; i < 20; ++i) {
            box->prefixIs(*Wire::IpGenPrefix::parse(
                "10.0.0." + std::to_string(isReversed ? 19 - i : i) + "/32"));
        }
        return box;
    };
    const auto box = filled(false);
    const struct {
        const char* differs;
        void (*change)(Switch& other);
    } rows[] = {
        {"enabled", [](Switch& other) { other.enabledIs(false); }},
        {"uplink", [](Switch& other) { other.uplinkIs(Ptr<const Port>(new Port("et9"))); }},
        {"uplink", [](Switch& other) { other.uplinkIs(Ptr<const Port>()); }},
        {"zone", [](Switch& other) { other.zoneIs("b", Color::green); }},
        {"prefix",
         [](Switch& other) { other.prefixDel(*Wire::IpGenPrefix::parse("10.0.0.7/32")); }},
        {"slot", [](Switch& other) { other.slotIs(0, Ptr<const Port>(new Port("et2"))); }},
        {"port", [](Switch& other) { other.portIs("et3")->speedIs(40); }},
    };
    EXPECT_TRUE(Orb::sameRecords(box.get(), filled(true).get()));
    for (const auto& [differs, change] : rows) {
        const auto other = filled(true);
        change(*other);
        EXPECT_FALSE(Orb::sameRecords(box.get(), other.get())) << differs;
        EXPECT_EQ(Orb::differences(*box, *other), std::vector<std::string_view>{differs});
    }
    const Ptr<Device> device = new Device(1);
    EXPECT_FALSE(Orb::sameRecords(box.get(), device.get()));
    EXPECT_FALSE(Orb::sameRecords(box.get(), nullptr));
    EXPECT_TRUE(Orb::sameRecords(nullptr, nullptr));
}

TEST(Type, countsLiveObjectsWithThoseOfDerivedTypes) {
    const U64 devices = Device::orbType().liveCount();
    {
        const auto device = Orb::make<Device>(1U);
        const auto chassis = Orb::make<Switch>(2U, nullptr);
        EXPECT_EQ(Device::orbType().liveCount(), devices + 2);
        EXPECT_EQ(Switch::orbType().liveCount(), 1U);
        EXPECT_EQ(&Ptr<Device>(chassis)->fwkType(), &Switch::orbType());
    }
    EXPECT_EQ(Device::orbType().liveCount(), devices);
}

// A host may close the library, whose types the process still knows.
TEST(Type, outlivesTheClosingOfItsLibrary) {
    void* const library = ::dlopen(PRODUCT_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror();
    EXPECT_EQ(::dlclose(library), 0);
    const auto record = typeOf("TrafficPolicyCli::PolicyStateCpu").create({Orb::String("P")});
    EXPECT_EQ(shown(record->fwkType().attribute("name")->value(*record)), "P");
}

TEST(Singleton, isOneObjectFoundByItsTypeName) {
    EXPECT_EQ(Orb::singleton("AclNameMap").get(), AclNameMap::instance().get());
    EXPECT_EQ(AclNameMap::orbType().liveCount(), 1U);
    EXPECT_TRUE(AclNameMap::instance()->dscpName(64).empty());
    EXPECT_THROW(Orb::singleton("No::SuchType"), std::invalid_argument);
    EXPECT_THROW(Orb::singleton("Orb::Dir"), std::invalid_argument);  // it takes a name
    EXPECT_THROW(Orb::singleton("Orb::Dir"), std::invalid_argument);  // and is not entered
}

TEST(Ptr, countsReferencesThroughCopiesMovesAndCasts) {
    const U64 live = Port::orbType().liveCount();
    Ptr<Port> first = Orb::make<Port>("Ethernet1");
    const Ptr<const Port> constant = first;
    Ptr<Orb::PtrInterface> base = first;
    EXPECT_EQ(first->references(), 3U);
    EXPECT_EQ(Orb::ptrCast<Port>(base), first);
    EXPECT_FALSE(Orb::ptrCast<Device>(base));
    Ptr<Orb::PtrInterface> moved = std::move(base);
    const Ptr<Port>& same = first;
    first = same;
    EXPECT_EQ(first->references(), 3U);
    first = nullptr;
    moved = nullptr;
    EXPECT_EQ(constant->references(), 1U);
    EXPECT_EQ(Port::orbType().liveCount(), live + 1);
}

}  // namespace
}  // namespace TypeTest
