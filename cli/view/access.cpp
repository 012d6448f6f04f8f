#include "view/access.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <random>

namespace radimo::cli::view {
namespace {

std::string lower(std::string_view text) {
    std::string out(text);
    for (char &c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

bool is_ip_literal(const std::string &text) {
    unsigned char buffer[16];
    return inet_pton(AF_INET, text.c_str(), buffer) == 1 || inet_pton(AF_INET6, text.c_str(), buffer) == 1;
}

bool is_loopback(const std::string &address) {
    return address == "::1" || address == "localhost" || address.rfind("127.", 0) == 0;
}

}  // namespace

std::string random_token() {
    std::random_device device;  // getrandom() on Linux
    std::string token;
    static constexpr char kDigits[] = "0123456789abcdef";
    for (int i = 0; i < 4; ++i) {
        const uint32_t word = device();
        for (int nibble = 0; nibble < 8; ++nibble) token += kDigits[(word >> (4 * nibble)) & 0xF];
    }
    return token;
}

Access::Access(std::string token, const std::string &address, int port)
    : token_(std::move(token)), port_(port) {
    const std::string a = lower(address);
    any_address_ = a == "0.0.0.0" || a == "::" || a.empty();
    names_.push_back(a);
    url_host_ = a.find(':') != std::string::npos ? "[" + a + "]" : a;
    if (any_address_ || is_loopback(a)) names_.push_back("localhost");
    if (!is_loopback(a)) {
        char name[256] = {};
        if (gethostname(name, sizeof name - 1) == 0 && name[0] != '\0') {
            names_.push_back(lower(name));
            names_.push_back(lower(name) + ".local");
            if (any_address_) url_host_ = name;
        }
    }
}

bool Access::token_matches(std::string_view given) const {
    // Every character compared, whatever the first difference: the time taken tells nothing.
    unsigned difference = given.size() == token_.size() ? 0u : 1u;
    for (std::size_t i = 0; i < token_.size(); ++i)
        difference |= static_cast<unsigned char>(token_[i]) ^
                      static_cast<unsigned char>(i < given.size() ? given[i] : '\0');
    return difference == 0;
}

bool Access::host_allowed(std::string_view host) const {
    // host = name [":" port] or "[" IPv6 address "]" [":" port]; without a port, HTTP's 80.
    std::string name;
    std::optional<std::string_view> port_text;
    if (!host.empty() && host.front() == '[') {
        const std::size_t close = host.find(']');
        if (close == std::string_view::npos) return false;
        name = lower(host.substr(1, close - 1));
        const std::string_view rest = host.substr(close + 1);
        if (!rest.empty()) {
            if (rest.front() != ':') return false;
            port_text = rest.substr(1);
        }
    } else {
        const std::size_t colon = host.find(':');
        name = lower(host.substr(0, colon));
        if (colon != std::string_view::npos) port_text = host.substr(colon + 1);
    }
    int port = 80;
    if (port_text) {
        const char *first = port_text->data(), *last = first + port_text->size();
        const auto [end, error] = std::from_chars(first, last, port);
        if (port_text->empty() || error != std::errc() || end != last) return false;
    }
    if (port != port_ || name.empty()) return false;
    if (std::find(names_.begin(), names_.end(), name) != names_.end()) return true;
    return any_address_ && is_ip_literal(name);
}

}  // namespace radimo::cli::view
