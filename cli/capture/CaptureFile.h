// A capture file: pcap or pcapng, or standard input.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "orb/Types.h"

struct pcap;

namespace Cli {

class CaptureFile {
  public:
    // path: "-" is standard input. Throws std::runtime_error, with the reason.
    explicit CaptureFile(const std::string& path);

    // A DLT_ value of libpcap, and its name.
    int linkType() const;
    std::string linkTypeName() const;

    struct Frame {
        std::span<const U8> bytes;  // those that were captured; valid until the next frame
        U64 length = 0;             // of the frame on the wire
    };
    // False at the end. Throws std::runtime_error when the file is damaged or cut off.
    bool next(Frame& frame);

  private:
    struct Close {
        void operator()(pcap* handle) const;
    };
    std::unique_ptr<pcap, Close> handle_;
};

}  // namespace Cli
