// Registered types and reflection. A class names its type once with ORB_TYPE and each attribute
// once with ORB_ATTRIBUTE or ORB_KEY; storage, accessors, and access by name come from that line:
//
//     class PerAfIntfList : public Orb::PtrInterface {
//         ORB_KEYED_TYPE(PerAfIntfList, matchOption, PolicyMap::ClassMapMatchOption)
//         ORB_ATTRIBUTE(intfList, Orb::RbTreeMap<Orb::String, bool>)
//     };
//
// gives matchOption(); intfList() (the collection), intfList(key) (one value, null when absent),
// intfListIs(key, value), intfListDel(key), intfListDelAll(); and, by name,
// Orb::typeByName("TrafficPolicyCli::PerAfIntfList")->create({option}) and
// ->attribute("intfList")->value(object). The macros leave the access at "public"; a key has no
// "Is".
#pragma once

#include <any>
#include <atomic>
#include <span>
#include <stdexcept>
#include <string_view>
#include <variant>
#include <vector>

#include "orb/Name.h"
#include "orb/Same.h"
#include "orb/Sparse.h"

namespace Orb {

// The value of an attribute, by reflection. A collection is a list of (key, value) pairs in the
// order of its walk; the values of a set are null, the keys of an array its indices. Types of
// their own (addresses, ranges) stand in their text form.
struct ValueEntry;
using Value = std::variant<std::monostate, bool, U64, String, Ptr<const PtrInterface>,
                           std::vector<ValueEntry>>;
struct ValueEntry {
    Value key;
    Value value;
};

template <class T>
Value valueOf(const T& value);

template <class Collection>
std::vector<ValueEntry> entriesOf(const Collection& collection) {
    std::vector<ValueEntry> entries;
    for (const auto& entry : collection) {
        if constexpr (requires { entry.first; }) {
            entries.push_back({valueOf(entry.first), valueOf(entry.second)});
        } else if constexpr (requires {
                                 entry.key;
                                 entry.value;
                             }) {
            entries.push_back({valueOf(entry.key), valueOf(entry.value)});
        } else if constexpr (requires { Collection::isSet; }) {
            entries.push_back({valueOf(entry), Value()});
        } else {
            entries.push_back({Value(U64{entries.size()}), valueOf(entry)});
        }
    }
    return entries;
}

template <class T>
Value valueOf(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value;
    } else if constexpr (std::is_enum_v<T> || std::is_integral_v<T>) {
        return static_cast<U64>(value);
    } else if constexpr (std::is_convertible_v<T, String>) {
        return String(value);
    } else if constexpr (requires { value->fwkType(); }) {
        return value ? Value(Ptr<const PtrInterface>(value)) : Value();
    } else if constexpr (requires { value.stringValue(); }) {
        return String(value.stringValue());
    } else if constexpr (requires { value.count(); }) {
        return static_cast<U64>(value.count());
    } else if constexpr (requires { value.begin(); }) {
        return entriesOf(value);
    } else {
        static_assert(
            requires { value.stringValue(); }, "give the type a stringValue()");
    }
}

struct Attribute {
    std::string_view name;
    std::string_view declaredType;  // as written in the declaration
    Value (*value)(const PtrInterface& object);
    bool (*isSame)(const PtrInterface& a, const PtrInterface& b);  // of two objects of the type
};

// A count that several threads change all the time: each at a place of its own, or one that it
// shares with few.
class ORB_EXPORT SpreadCount {
  public:
    void add(U64 by) {
        if (placeOfThread_ == noPlace) findPlace();
        places_[placeOfThread_].count.fetch_add(by, std::memory_order_relaxed);
    }
    U64 value() const {
        U64 sum = 0;
        for (const Place& place : places_) sum += place.count.load(std::memory_order_relaxed);
        return sum;
    }

  private:
    static constexpr U32 placeCount = 8;
    static constexpr U32 noPlace = ~U32{0};
    static constexpr std::size_t cacheLine = 64;
    struct alignas(cacheLine) Place {
        std::atomic<U64> count{0};
    };

    static void findPlace();

    [[gnu::tls_model("initial-exec")]] static constinit thread_local U32 placeOfThread_;

    Place places_[placeCount];
};

class ORB_EXPORT TypeInfo {
  public:
    using Arguments = std::span<const std::any>;
    using Constructor = Ptr<PtrInterface> (*)(Arguments);

    // Enters the type in the registry; done once per type, when its code is loaded.
    TypeInfo(std::string_view name, const TypeInfo* base);
    TypeInfo(const TypeInfo&) = delete;
    TypeInfo& operator=(const TypeInfo&) = delete;

    const String& name() const { return name_; }
    const TypeInfo* base() const { return base_; }
    // The attributes of the base types, then the type's own, in declaration order.
    std::vector<Attribute> attributes() const;
    // Calls visit(attribute) for each of them until a call returns false. Says whether none did.
    template <class Visit>
    bool allAttributes(const Visit& visit) const {
        return (base_ == nullptr || base_->allAttributes(visit)) &&
               std::all_of(attributes_.begin(), attributes_.end(), visit);
    }
    // An attribute by name; null when there is none.
    const Attribute* attribute(std::string_view name) const;

    // Builds an object from the arguments of the type's constructor, in their order, each an
    // std::any of the parameter's type without const and reference (pointers: Ptr<T> or
    // Ptr<const T>, or nullptr). Throws std::invalid_argument, which says what was expected, when
    // number or types differ, or when the type is abstract.
    Ptr<PtrInterface> create(Arguments arguments) const;
    Ptr<PtrInterface> create(std::initializer_list<std::any> arguments) const {
        return create(Arguments(arguments.begin(), arguments.size()));
    }

    // How many objects of the type, those of derived types included, are alive.
    U64 liveCount() const { return liveCount_.value(); }

    // Used by the macros below.
    void attributeIs(const Attribute& attribute);
    bool constructorIs(Constructor constructor);
    void liveCountAdd(U64 by) { liveCount_.add(by); }

  private:
    String name_;
    const TypeInfo* base_;
    std::vector<Attribute> attributes_;
    Constructor constructor_ = nullptr;
    SpreadCount liveCount_;
};

// The registered type of a qualified name, as "Orb::Dir"; null when there is none.
ORB_EXPORT const TypeInfo* typeByName(std::string_view name);
// All registered types, ascending by name.
ORB_EXPORT std::vector<const TypeInfo*> registeredTypes();

// The names of the attributes in which two records of one type differ, in the order of their
// declaration.
ORB_EXPORT std::vector<std::string_view> differences(const PtrInterface& a, const PtrInterface& b);

namespace Detail {

// The qualified class name in the signature of one of its member functions without arguments; g++
// writes "T& Class::f()", clang "T &Class::f()".
constexpr std::string_view scopeOf(std::string_view signature) {
    signature = signature.substr(0, signature.rfind("::"));
    return signature.substr(signature.find_last_of(" &") + 1);
}

// Counts an object of Self among the living for its own life.
template <class Self>
struct LiveObject {
    LiveObject() { Self::orbType().liveCountAdd(1); }
    LiveObject(const LiveObject&) : LiveObject() {}
    LiveObject& operator=(const LiveObject&) = default;
    ~LiveObject() { Self::orbType().liveCountAdd(~U64{0}); }
};

[[noreturn]] ORB_EXPORT void argumentMismatch(const TypeInfo& type, std::size_t position);
[[noreturn]] ORB_EXPORT void argumentCountMismatch(const TypeInfo& type, std::size_t expected,
                                                   std::size_t given);

template <class T>
struct IsPtr : std::false_type {};
template <class T>
struct IsPtr<Ptr<T>> : std::true_type {
    using Pointee = T;
};

template <class Parameter>
Parameter argument(const TypeInfo& type, TypeInfo::Arguments arguments, std::size_t position) {
    const std::any& given = arguments[position];
    if (const auto* exact = std::any_cast<Parameter>(&given)) return *exact;
    if constexpr (std::is_same_v<Parameter, Name>) {
        if (const auto* text = std::any_cast<String>(&given)) return *text;
    }
    if constexpr (IsPtr<Parameter>::value) {
        using Mutable = Ptr<std::remove_const_t<typename IsPtr<Parameter>::Pointee>>;
        if (const auto* object = std::any_cast<Mutable>(&given)) return *object;
        if (given.type() == typeid(std::nullptr_t)) return nullptr;
    }
    argumentMismatch(type, position);
}

template <class Self, class... Parameters, std::size_t... I, class Build>
Ptr<PtrInterface> build(TypeInfo::Arguments arguments, std::index_sequence<I...>, Build make) {
    const TypeInfo& type = Self::orbType();
    if (arguments.size() != sizeof...(Parameters)) {
        argumentCountMismatch(type, sizeof...(Parameters), arguments.size());
    }
    return make(argument<std::remove_cvref_t<Parameters>>(type, arguments, I)...);
}

template <class Self, class... Parameters>
Ptr<PtrInterface> construct(TypeInfo::Arguments arguments) {
    return build<Self, Parameters...>(
        arguments, std::index_sequence_for<Parameters...>(),
        [](auto&&... values) -> Ptr<PtrInterface> {
            return new Self(std::forward<decltype(values)>(values)...);
        });
}

// Each attribute is an overload of orbAttribute for its line below the first of its class, which is
// the same in every translation unit, whatever was included before.
template <int line>
struct Line {};
struct None {};
inline constexpr int maxLines = 200;

template <class Type, int line>
void addAttributeOf(TypeInfo& type) {
    if constexpr (requires { Type::template orbAttribute<Type>(Line<line>()); }) {
        type.attributeIs(Type::template orbAttribute<Type>(Line<line>()));
    }
}

template <class Type, int... line>
void addAttributes(TypeInfo& type, std::integer_sequence<int, line...>) {
    (addAttributeOf<Type, line>(type), ...);
}

template <class Type, int line>
void dropSparseOf(Sparse& sparse) {
    if constexpr (requires { Type::orbSparse(Line<line>()); }) {
        sparse.drop<decltype(Type::orbSparse(Line<line>()))>(line);
    }
}

// Ends the life of the attributes that an object keeps sparsely.
template <class Type, int... line>
void dropSparse(Sparse& sparse, std::integer_sequence<int, line...>) {
    (dropSparseOf<Type, line>(sparse), ...);
}

template <class Type>
TypeInfo& defineType(std::string_view signature) {
    const TypeInfo* base = nullptr;
    if constexpr (!std::is_same_v<typename Type::OrbBase, PtrInterface>) {
        base = &Type::OrbBase::orbType();
    }
    auto& type = *new TypeInfo(scopeOf(signature), base);
    addAttributes<Type>(type, std::make_integer_sequence<int, maxLines>());
    if constexpr (requires { Type::template orbConstructor<Type>(); }) {
        type.constructorIs(Type::template orbConstructor<Type>());
    }
    return type;
}

// Scalars of a word or less are handed out by value, everything else by reference to const.
template <class T>
using Getter =
    std::conditional_t<std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(U64), T, const T&>;

template <class Attribute, class... Args>
decltype(auto) attributeIs(Attribute& attribute, Args&&... args) {
    if constexpr (requires { attribute.is(std::forward<Args>(args)...); }) {
        return attribute.is(std::forward<Args>(args)...);
    } else if constexpr (requires(Attribute & a) {
                             a.is((args->name())..., std::forward<Args>(args)...);
                         }) {
        // A record that is entered under its own name.
        static_assert(sizeof...(Args) == 1);
        return attribute.is((args->name())..., std::forward<Args>(args)...);
    } else {
        static_assert(sizeof...(Args) == 1, "one value for a single attribute");
        attribute = (std::forward<Args>(args), ...);
    }
}

template <class Collection, class Key>
decltype(auto) attributeDel(Collection& collection, const Key& key) {
    return collection.del(key);
}

template <class, class Collection>
void attributeDelAll(Collection& collection) {
    collection.delAll();
}

// One value of a collection, null when absent; records are returned by plain pointer.
template <class Collection, class Key>
auto valueOfKey(const Collection& collection, const Key& key) {
    const auto* value = collection.find(key);
    if constexpr (requires { value->get(); }) {
        return value == nullptr ? nullptr : value->get();
    } else {
        return value;
    }
}

}  // namespace Detail

namespace Detail {

template <auto factory>
struct FactoryOf;

template <class Self, class... Parameters, Ptr<Self> (*factory)(Parameters...)>
struct FactoryOf<factory> {
    static bool registerIt() {
        return Self::orbType().constructorIs([](TypeInfo::Arguments arguments) {
            return build<Self, Parameters...>(
                arguments, std::index_sequence_for<Parameters...>(),
                [](auto&&... values) -> Ptr<PtrInterface> {
                    return factory(std::forward<decltype(values)>(values)...);
                });
        });
    }
};

}  // namespace Detail

// Registers a factory function as the way in which its type is built from an argument list.
template <auto factory>
bool registerFactory() {
    return Detail::FactoryOf<factory>::registerIt();
}

}  // namespace Orb

#define ORB_TYPE_COMMON(Type, Base)                                       \
  public:                                                                 \
    using Self = Type;                                                    \
    using OrbBase = Base;                                                 \
    static ::Orb::TypeInfo& orbType();                                    \
    const ::Orb::TypeInfo& fwkType() const override { return orbType(); } \
    static void orbAttribute(::Orb::Detail::None);                        \
    static void orbSparse(::Orb::Detail::None);                           \
    static void orbConstructor(::Orb::Detail::None);                      \
                                                                          \
  private:                                                                \
    enum : int { orbFirstLine = __LINE__ };                               \
    [[no_unique_address]] ::Orb::Detail::LiveObject<Type> orbLive_;       \
                                                                          \
  public:

// Makes a class a registered type: directly below PtrInterface, or derived from another type.
#define ORB_TYPE(Type) ORB_TYPE_COMMON(Type, ::Orb::PtrInterface)
#define ORB_DERIVED_TYPE(Type, Base) ORB_TYPE_COMMON(Type, Base)

// Registers the type when its code is loaded. Stands once, in a source file, in the namespace of
// the class; what it makes of the attributes is compiled there only.
#define ORB_DEFINE_TYPE(Type)                                                                \
    ::Orb::TypeInfo& Type::orbType() {                                                       \
        static ::Orb::TypeInfo& type = ::Orb::Detail::defineType<Type>(__PRETTY_FUNCTION__); \
        return type;                                                                         \
    }                                                                                        \
    namespace {                                                                              \
    [[maybe_unused]] const ::Orb::TypeInfo& orb##Type##Registered = Type::orbType();         \
    }

// Says that the type can be built by name with these constructor arguments.
#define ORB_CONSTRUCTIBLE(Type, ...)                                          \
    template <class OrbSelf>                                                  \
    static ::Orb::TypeInfo::Constructor orbConstructor() {                    \
        return &::Orb::Detail::construct<OrbSelf __VA_OPT__(, ) __VA_ARGS__>; \
    }

// Access by name.
#define ORB_DESCRIBED_ATTRIBUTE(attribute, ...)                                          \
  public:                                                                                \
    static_assert(__LINE__ - orbFirstLine < ::Orb::Detail::maxLines);                    \
    template <class OrbSelf>                                                             \
    static ::Orb::Attribute orbAttribute(::Orb::Detail::Line<__LINE__ - orbFirstLine>) { \
        return {#attribute, #__VA_ARGS__,                                                \
                [](const ::Orb::PtrInterface& object) {                                  \
                    return ::Orb::valueOf<std::remove_cvref_t<__VA_ARGS__>>(             \
                        static_cast<const OrbSelf&>(object).attribute());                \
                },                                                                       \
                [](const ::Orb::PtrInterface& a, const ::Orb::PtrInterface& b) {         \
                    return ::Orb::isSame(static_cast<const OrbSelf&>(a).attribute(),     \
                                         static_cast<const OrbSelf&>(b).attribute());    \
                }};                                                                      \
    }

#define ORB_STORED_ATTRIBUTE(attribute, ...)        \
    ORB_DESCRIBED_ATTRIBUTE(attribute, __VA_ARGS__) \
                                                    \
  private:                                          \
    __VA_ARGS__ attribute##_{};                     \
                                                    \
  public:                                           \
    ::Orb::Detail::Getter<__VA_ARGS__> attribute() const { return attribute##_; }

// What changes an attribute, which is at a place, and one value of a collection.
#define ORB_ATTRIBUTE_CHANGES(attribute, place)                                   \
    template <class OrbKey>                                                       \
    auto attribute(const OrbKey& key) const {                                     \
        return ::Orb::Detail::valueOfKey(attribute(), key);                       \
    }                                                                             \
    template <class... OrbArgs>                                                   \
    decltype(auto) attribute##Is(OrbArgs&&... args) {                             \
        return ::Orb::Detail::attributeIs(place, std::forward<OrbArgs>(args)...); \
    }                                                                             \
    template <class OrbKey>                                                       \
    decltype(auto) attribute##Del(const OrbKey& key) {                            \
        return ::Orb::Detail::attributeDel(place, key);                           \
    }                                                                             \
    template <class OrbNone = void>                                               \
    void attribute##DelAll() {                                                    \
        ::Orb::Detail::attributeDelAll<OrbNone>(place);                           \
    }

// An attribute that the constructor sets once.
#define ORB_KEY(attribute, ...) ORB_STORED_ATTRIBUTE(attribute, __VA_ARGS__)

// An attribute: a single value or a collection.
#define ORB_ATTRIBUTE(attribute, ...)            \
    ORB_STORED_ATTRIBUTE(attribute, __VA_ARGS__) \
    ORB_ATTRIBUTE_CHANGES(attribute, attribute##_)

// The same, of a word, for objects that have few of many attributes: one that was never set takes
// no memory. The class has an ORB_SPARSE_ATTRIBUTES line below its type, and its destructor is
// defined by ORB_DEFINE_SPARSE.
#define ORB_SPARSE_ATTRIBUTE(attribute, ...)                                    \
    ORB_DESCRIBED_ATTRIBUTE(attribute, __VA_ARGS__)                             \
    static_assert(__LINE__ - orbFirstLine < ::Orb::Sparse::maxAttributes);      \
    static __VA_ARGS__ orbSparse(::Orb::Detail::Line<__LINE__ - orbFirstLine>); \
    using attribute##Type = __VA_ARGS__;                                        \
    const attribute##Type& attribute() const {                                  \
        return orbSparse_.get<attribute##Type>(__LINE__ - orbFirstLine);        \
    }                                                                           \
    ORB_ATTRIBUTE_CHANGES(attribute, (orbSparse_.set<attribute##Type>(__LINE__ - orbFirstLine)))

#define ORB_SPARSE_ATTRIBUTES \
  private:                    \
    ::Orb::Sparse orbSparse_; \
                              \
  public:

#define ORB_DEFINE_SPARSE(Type)                                                           \
    Type::~Type() {                                                                       \
        ::Orb::Detail::dropSparse<Type>(                                                  \
            orbSparse_, std::make_integer_sequence<int, ::Orb::Sparse::maxAttributes>()); \
    }

// The declaration of a record that is built from its key, as most are: the type, how it is built by
// name, the key, and the constructor.
#define ORB_KEYED_TYPE(Type, key, ...)   \
    ORB_TYPE(Type)                       \
    ORB_CONSTRUCTIBLE(Type, __VA_ARGS__) \
    ORB_KEY(key, __VA_ARGS__)            \
    explicit Type(__VA_ARGS__ key) : key##_(static_cast<__VA_ARGS__&&>(key)) {}
