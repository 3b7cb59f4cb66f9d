#include "diagnosis/PacketFields.h"

#include "names/AclNameMap.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

using textout::RendererV2;

Wire::IpGenAddr addressOf(const FieldValue& value, bool isIpv4) {
    return isIpv4 ? Wire::IpGenAddr::ipv4(static_cast<U32>(value.high >> 32))
                  : Wire::IpGenAddr::ipv6(value.high, value.low);
}

// One header, the outer or the inner one.
class HeaderFields {
  public:
    HeaderFields(RendererV2& renderer, const Packet& packet, bool isInner)
        : renderer_(renderer), packet_(packet), isInner_(isInner) {}

    void render() {
        family();
        address(Field::source);
        address(Field::destination);
        numbers();
        fragment();
        tags();
        for (const Field field : {Field::ipOptions, Field::tracked, Field::bgpNeighbor}) {
            if (!isKnown(field)) continue;
            const bool isSet = number(field) != 0;
            renderer_.pair(nameOf(field), isSet);
            textBegin(field).text(isSet ? "yes" : "no");
        }
    }

  private:
    Field at(Field field) const { return fieldAt(field, isInner_); }
    bool isKnown(Field field) const { return packet_.isKnown(at(field)); }
    U32 number(Field field) const { return packet_.number(at(field)); }
    static std::string_view nameOf(Field field) { return fieldName(field); }
    bool isIpv4() const {
        return isInner_
                   ? packet_.isKnown(Field::innerFamily) && packet_.number(Field::innerFamily) == 4
                   : packet_.family() == MatchOption::ipv4;
    }

    RendererV2& textBegin(Field field) {
        renderer_.text(isFirst_ ? "" : ", ").text(nameOf(field)).text(" ");
        isFirst_ = false;
        return renderer_;
    }

    void family() {
        if (isInner_ && !packet_.isKnown(Field::innerFamily)) return;
        const std::string_view name = !isInner_  ? matchOptionName(packet_.family())
                                      : isIpv4() ? "ipv4"
                                                 : "ipv6";
        renderer_.pair("family", name);
        renderer_.text("family ").text(name);
        isFirst_ = false;
    }

    void address(Field field) {
        if (!isKnown(field)) return;
        char buffer[Wire::IpGenAddr::maxPrintedSize];
        const auto address = addressOf(packet_.value(at(field)), isIpv4());
        const std::string_view printed(buffer, address.print(buffer));
        renderer_.pair(nameOf(field), printed);
        textBegin(field).text(printed);
    }

    std::string_view valueName(Field field) const {
        const auto& names = *AclNameMap::instance();
        if (field == Field::dscp) return names.dscpName(number(field));
        if (field != Field::protocol) return {};
        return isIpv4() ? names.ipv4ProtocolName(number(field))
                        : names.ipv6ProtocolName(number(field));
    }

    void numbers() {
        for (const Field field : {Field::protocol, Field::sourcePort, Field::destinationPort,
                                  Field::tcpFlags, Field::icmpType, Field::icmpCode, Field::dscp,
                                  Field::ecn, Field::ttl, Field::length}) {
            if (!isKnown(field)) continue;
            if (field == Field::tcpFlags) {
                flags();
                continue;
            }
            renderer_.pair(nameOf(field), number(field));
            const std::string_view name = valueName(field);
            if (name.empty()) {
                textBegin(field).number(number(field));
            } else {
                textBegin(field).text(name);
            }
        }
    }

    void flags() {
        const auto list = renderer_.list(nameOf(Field::tcpFlags));
        textBegin(Field::tcpFlags);
        if (number(Field::tcpFlags) == 0) renderer_.text("none");
        std::string_view separator;
        for (U32 bit = 0; bit < std::size(tcpFlagNames); ++bit) {
            if ((number(Field::tcpFlags) >> bit & 1) == 0) continue;
            renderer_.item(tcpFlagNames[bit]);
            renderer_.text(separator).text(tcpFlagNames[bit]);
            separator = ",";
        }
    }

    void fragment() {
        if (!isKnown(Field::fragment)) return;
        constexpr std::string_view none = "no";
        const U32 value = number(Field::fragment);
        textBegin(Field::fragment);
        if (value == 0) {
            renderer_.pair(nameOf(Field::fragment), none);
            renderer_.text(none);
        } else {
            renderer_.pair(nameOf(Field::fragment), value - 1);
            renderer_.number(value - 1);
        }
    }

    void tags() {
        if (isInner_ || !isKnown(Field::vlan)) return;
        const auto list = renderer_.list(nameOf(Field::vlan));
        textBegin(Field::vlan);
        if (number(Field::vlan) == 0) renderer_.text("none");
        std::string_view separator;
        for (const Field field : {Field::vlan, Field::secondVlan}) {
            if (!isKnown(field) || number(field) == 0) continue;
            renderer_.item(number(field) - 1);
            renderer_.text(separator).number(number(field) - 1);
            separator = ",";
        }
    }

    RendererV2& renderer_;
    const Packet& packet_;
    bool isInner_;
    bool isFirst_ = true;
};

}  // namespace

void renderPacketFields(RendererV2& renderer, const Packet& packet) {
    HeaderFields(renderer, packet, false).render();
    if (!packet.hasInner()) return;
    renderer.text(", inner ");
    const auto inner = renderer.object("inner");
    HeaderFields(renderer, packet, true).render();
}

}  // namespace TrafficPolicyCli::Diagnosis
