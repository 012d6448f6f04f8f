// Who may talk to the viewer: requests carrying the random token of the printed URL, addressed
// (Host header) to the address the server listens on. The Host check keeps a web page elsewhere
// from reaching the server through a DNS name rebound to this machine; the token keeps out every
// other program and page that did not get the URL.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace radimo::cli::view {

// 32 hexadecimal digits from the system's random source.
std::string random_token();

class Access {
public:
    // `address` and `port` as listened on: "127.0.0.1", "::1", "0.0.0.0", "::" or a host's address.
    Access(std::string token, const std::string &address, int port);

    bool token_matches(std::string_view given) const;
    // The Host header names the listening address (or, on loopback, "localhost"; on every
    // interface, any IP address or this machine's name) with the listening port.
    bool host_allowed(std::string_view host) const;
    const std::string &token() const { return token_; }
    // The host part of the URL to print: the address, or this machine's name on every interface.
    const std::string &url_host() const { return url_host_; }

private:
    std::string token_;
    std::vector<std::string> names_;  // lower-case host names and address literals accepted
    bool any_address_ = false;        // listening on every interface
    int port_;
    std::string url_host_;
};

}  // namespace radimo::cli::view
