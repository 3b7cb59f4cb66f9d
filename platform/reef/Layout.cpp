#include "reef/Layout.h"

#include <cstring>

#include "orb/Hash.h"

namespace Reef {

U64 checksum(std::span<const std::byte> bytes, U64 before) {
    U64 sum = before ^ bytes.size();
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(bytes.size(), sizeof(U64)))) {
        U64 word = 0;
        std::memcpy(&word, bytes.data(), std::min(bytes.size(), sizeof word));
        // Every step maps the sums one to one, so two inputs that differ in one word stay apart.
        sum = Orb::mixBits(sum ^ word);
    }
    return sum;
}

U64 headerChecksum(const Header& header) {
    return checksum(std::as_bytes(std::span(&header, 1)).first(offsetof(Header, headerChecksum)),
                    Header::storeMagic);
}

}  // namespace Reef
