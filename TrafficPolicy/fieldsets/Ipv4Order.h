// IPv4 prefixes in ascending order, for a list that is walked piece by piece. Address and length
// are a number of 38 bits, of which the first octet chooses one of 256 parts and 30 bits are kept:
//
//     10.1.0.0/16    part 10    000001 000000 000000 000000 | 010000
//
// The end of a piece lays its prefixes behind the earlier ones, part by part. In the end each part
// is collected from the pieces and sorted, in general within the processor's nearest cache. So the
// work is a few passes over 4 bytes a prefix, most of it spread over the pieces.
#pragma once

#include <memory>
#include <vector>

#include "wire/IpGenPrefix.h"

namespace TrafficPolicyCli::FieldSets {

class Ipv4Order {
  public:
    // room: how many prefixes will come at most.
    explicit Ipv4Order(std::size_t room) : room_(room) {}

    // REQUIRES: a prefix of IPv4.
    void add(const Wire::IpGenPrefix& prefix) {
        piece_.push_back(prefix.address().high() >> 26 | prefix.length());
    }
    // Ends a piece, which may be empty.
    void endPiece();
    // Ends the last piece and sorts.
    void sort();

    // Visits the sorted prefixes, ascending.
    template <class Visit>
    void forEach(Visit visit) const {
        U32 at = 0;
        for (U32 part = 0; part < partEnds_.size(); ++part) {
            for (; at < partEnds_[part]; ++at) {
                const U32 address = part << 24 | sorted_[at] >> lengthBits;
                visit(Wire::IpGenPrefix(Wire::IpGenAddr::ipv4(address), sorted_[at] & lengthMask));
            }
        }
    }

  private:
    static constexpr U32 lengthBits = 6;
    static constexpr U32 lengthMask = (1U << lengthBits) - 1;

    std::size_t room_;
    std::vector<U64> piece_;     // the numbers of the piece that is being filled
    std::vector<U32> keys_;      // what is kept of those of earlier pieces
    std::vector<U32> partEnds_;  // in keys_, of each piece's parts; in sorted_, of all parts
    std::unique_ptr<U32[]> sorted_;
};

}  // namespace TrafficPolicyCli::FieldSets
