#include "cli/capture/CaptureFile.h"

#include <pcap/pcap.h>

#include <cstdio>
#include <stdexcept>

namespace Cli {

void CaptureFile::Close::operator()(pcap* handle) const { ::pcap_close(handle); }

CaptureFile::CaptureFile(const std::string& path) {
    char reason[PCAP_ERRBUF_SIZE] = "";
    handle_.reset(path == "-" ? ::pcap_fopen_offline(stdin, reason)
                              : ::pcap_open_offline(path.c_str(), reason));
    if (!handle_) throw std::runtime_error(reason);
}

int CaptureFile::linkType() const { return ::pcap_datalink(handle_.get()); }

std::string CaptureFile::linkTypeName() const {
    const char* const name = ::pcap_datalink_val_to_name(linkType());
    return name == nullptr ? std::to_string(linkType()) : name;
}

bool CaptureFile::next(Frame& frame) {
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = ::pcap_next_ex(handle_.get(), &header, &bytes);
    if (result == PCAP_ERROR_BREAK) return false;
    if (result != 1) throw std::runtime_error(::pcap_geterr(handle_.get()));
    frame = {{bytes, header->caplen}, header->len};
    return true;
}

}  // namespace Cli
