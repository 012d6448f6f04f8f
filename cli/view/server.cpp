#include "view/server.h"

#include <charconv>
#include <cmath>

#include "core/errors.h"
#include "core/measure_report.h"
#include "view/assets.h"

namespace radimo::cli::view {
namespace {

using httplib::Request;
using httplib::Response;

// A streamed answer ends when no frame came for this long: a page that went away without a word is
// noticed only by a write, and a thread is not held for it longer than this.
constexpr int kStreamIdleMilliseconds = 2000;

void send_error(Response &res, int status, const std::string &message) {
    res.status = status;
    res.set_content(json_text(nlohmann::ordered_json{{"error", message}}), "application/json");
}

void send_json(Response &res, const nlohmann::ordered_json &j) {
    res.set_content(json_text(j, 2) + "\n", "application/json");
}

// A request's value of `key`, or nullopt when it has none.
std::optional<std::string> param(const Request &req, const char *key) {
    if (!req.has_param(key)) return std::nullopt;
    return req.get_param_value(key);
}

uint64_t parse_index(const std::string &text, const char *key) {
    uint64_t value = 0;
    const char *last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (text.empty() || error != std::errc() || end != last)
        throw RequestError(400, std::string(key) + "=" + text + ": expected a frame number");
    return value;
}

bool parse_switch(const Request &req, const char *key, bool fallback) {
    const auto text = param(req, key);
    if (!text) return fallback;
    if (*text == "1" || *text == "true") return true;
    if (*text == "0" || *text == "false") return false;
    throw RequestError(400, std::string(key) + "=" + *text + ": expected 0 or 1");
}

// "LO,HI" in degC, two finite numbers with LO below HI (LO up to HI for an isotherm).
std::optional<std::pair<float, float>> parse_band(const Request &req, const char *key, bool strict) {
    const auto text = param(req, key);
    if (!text || text->empty()) return std::nullopt;
    const std::size_t comma = text->find(',');
    double v[2] = {};
    const std::string parts[2] = {text->substr(0, comma),
                                  comma == std::string::npos ? "" : text->substr(comma + 1)};
    for (int i = 0; i < 2; ++i) {
        const char *first = parts[i].data(), *last = first + parts[i].size();
        const auto [end, error] = std::from_chars(first, last, v[i]);
        if (parts[i].empty() || error != std::errc() || end != last || !std::isfinite(v[i]) ||
            std::fabs(v[i]) > 1e6)
            throw RequestError(400, std::string(key) + "=" + *text + ": expected LO,HI in degC");
    }
    if (strict ? !(v[0] < v[1]) : !(v[0] <= v[1]))
        throw RequestError(400, std::string(key) + "=" + *text + ": LO must be below HI");
    return std::pair{static_cast<float>(v[0]), static_cast<float>(v[1])};
}

ToolTexts tools_of(const Request &req) {
    ToolTexts tools;
    const auto all = [&](const char *key, std::vector<std::string> &out) {
        const std::size_t n = req.get_param_value_count(key);
        for (std::size_t i = 0; i < n; ++i) out.push_back(req.get_param_value(key, i));
    };
    all("point", tools.points);
    all("line", tools.lines);
    all("rect", tools.rects);
    all("polygon", tools.polygons);
    all("ellipse", tools.ellipses);
    return tools;
}

ShownFramePtr frame_of(Session &session, const Request &req) {
    const auto index = param(req, "index");
    if (!index) throw RequestError(400, "index=N is missing");
    return session.frame(parse_index(*index, "index"));
}

// "raw.tiff" frame 3 -> "raw-frame3".
std::string download_name(const ShownFrame &frame) {
    std::string stem = std::filesystem::path(frame.source->origin).stem().string();
    std::erase_if(
        stem, [](char c) { return !(std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_'); });
    if (stem.empty()) stem = "radimo";
    return stem + "-frame" + std::to_string(frame.source->file_index);
}

void attach(Response &res, const std::string &name) {
    res.set_header("Content-Disposition", "attachment; filename=\"" + name + "\"");
}

void get_page(Session &, const Access &access, const Request &, Response &res) {
    const Asset *page = find_asset("index.html");
    std::string html(page->content);
    for (std::size_t at; (at = html.find("{{TOKEN}}")) != std::string::npos;)
        html.replace(at, 9, access.token());
    res.set_content(html, std::string(content_type("index.html")));
}

void get_asset(const Request &req, Response &res) {
    const std::string name = req.matches[1];
    const Asset *asset = name == "index.html" ? nullptr : find_asset(name);
    if (asset == nullptr) return send_error(res, 404, "no such file");
    res.set_content(std::string(asset->content), std::string(content_type(name)));
}

void get_frame(Session &session, const Request &req, Response &res) {
    ShownFramePtr frame;
    if (req.has_param("index")) {
        frame = frame_of(session, req);
    } else {
        const std::string after = param(req, "after").value_or("none");
        const std::optional<uint64_t> previous =
            after == "none" ? std::nullopt : std::optional<uint64_t>(parse_index(after, "after"));
        long wait = 0;
        if (const auto text = param(req, "wait")) wait = static_cast<long>(parse_index(*text, "wait"));
        frame = session.next(previous, std::chrono::milliseconds(std::min<long>(wait, kMaxWaitMilliseconds)));
        if (!frame) {
            res.status = 204;
            if (const auto why = session.source().ended()) res.set_header("X-Radimo-Ended", *why);
            return;
        }
    }
    const MeasuredTools measured = session.measure(*frame, tools_of(req));
    res.set_content(session.frame_message(*frame, measured), "application/octet-stream");
}

// A live stream's frames in one answer, each as it comes: a little-endian u32 length, then the frame
// message (as /api/frame sends it). One request for the whole stream instead of one a frame; each
// frame is the newest when the one before has been written, so a slow reader gets fewer frames, not
// older ones. It ends with the stream, after a pause of the stream, or at the first frame the tools
// cannot be measured on (the page then asks /api/frame, which says why).
void get_frames(Session &session, const Request &req, Response &res) {
    if (!session.source().live()) throw RequestError(400, "only a live stream's frames are streamed");
    const std::string after = param(req, "after").value_or("none");
    std::optional<uint64_t> previous =
        after == "none" ? std::nullopt : std::optional<uint64_t>(parse_index(after, "after"));
    res.set_chunked_content_provider(
        "application/octet-stream",
        [&session, tools = tools_of(req), previous](std::size_t, httplib::DataSink &sink) mutable {
            std::string message;
            try {
                const ShownFramePtr frame =
                    session.next(previous, std::chrono::milliseconds(kStreamIdleMilliseconds));
                if (!frame) {  // the stream ended or paused: the page asks /api/frame, then again
                    sink.done();
                    return true;
                }
                previous = frame->source->index;
                message = session.frame_message(*frame, session.measure(*frame, tools));
            } catch (const std::exception &) {  // the page asks /api/frame, which says why
                sink.done();
                return true;
            }
            const auto length = static_cast<uint32_t>(message.size());
            char head[4];
            for (int i = 0; i < 4; ++i) head[i] = static_cast<char>((length >> (8 * i)) & 0xFF);
            return sink.write(head, sizeof head) && sink.write(message.data(), message.size());
        });
}

void get_measure(Session &session, const Request &req, Response &res) {
    const ShownFramePtr frame = frame_of(session, req);
    const nlohmann::ordered_json report = session.report(*frame, session.measure(*frame, tools_of(req)));
    const std::string format = param(req, "format").value_or("json");
    const bool download = parse_switch(req, "download", false);
    if (format == "json") {
        send_json(res, report);
        if (download) attach(res, download_name(*frame) + ".json");
    } else if (format == "csv") {
        std::vector<nlohmann::ordered_json> rows;
        for (const auto &record : report["frames"]) {
            nlohmann::ordered_json head = record;
            head.erase("measurements");
            head.erase("delta_t");
            for (const auto &m : record["measurements"]) {
                nlohmann::ordered_json row = head;
                row.update(m);
                rows.push_back(row);
            }
        }
        res.set_content(records_csv(rows), "text/csv; charset=utf-8");
        if (download) attach(res, download_name(*frame) + ".csv");
    } else {
        throw RequestError(400, "format=" + format + ": expected json or csv");
    }
}

void get_picture(Session &session, const Request &req, Response &res) {
    const ShownFramePtr frame = frame_of(session, req);
    PictureSettings settings;
    settings.palette = param(req, "palette").value_or("ironbow");
    settings.range = parse_band(req, "range", true);
    settings.isotherm = parse_band(req, "isotherm", false);
    settings.colour_bar = parse_switch(req, "bar", true);
    settings.crosshairs = parse_switch(req, "crosshairs", true);
    const Picture picture = session.picture(*frame, session.measure(*frame, tools_of(req)), settings);
    res.set_content(std::string(picture.png.begin(), picture.png.end()), "image/png");
    if (parse_switch(req, "download", false)) attach(res, download_name(*frame) + ".png");
}

void post_scene(Session &session, const Request &req, Response &res) {
    const nlohmann::json changes = nlohmann::json::parse(req.body, nullptr, false);
    if (changes.is_discarded()) throw RequestError(400, "the scene change is not valid JSON");
    send_json(res, session.set_scene(changes));
}

}  // namespace

void install_routes(httplib::Server &http, Session &session, const Access &access) {
    http.set_payload_max_length(kMaxBody);
    http.set_keep_alive_timeout(2);
    http.set_keep_alive_max_count(10000);  // a live page asks 30 times a second on the same connection
    http.set_read_timeout(5);
    http.set_write_timeout(5);
    // The page loads nothing from elsewhere and is never framed; the token in its URL never leaves
    // in a Referer; nothing is cached.
    http.set_default_headers({
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
         "connect-src 'self'; form-action 'none'; frame-ancestors 'none'; base-uri 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cache-Control", "no-store"},
    });
    http.set_pre_routing_handler([&access](const Request &req, Response &res) {
        if (!access.host_allowed(req.get_header_value("Host"))) {
            send_error(res, 403, "this server answers only to its own address (Host header refused)");
            return httplib::Server::HandlerResponse::Handled;
        }
        const std::string token =
            req.has_param("token") ? req.get_param_value("token") : req.get_header_value("X-Radimo-Token");
        if (!access.token_matches(token)) {
            send_error(res, 403, "the token of the URL radimo view printed is missing or wrong");
            return httplib::Server::HandlerResponse::Handled;
        }
        return httplib::Server::HandlerResponse::Unhandled;
    });
    http.set_exception_handler([](const Request &, Response &res, std::exception_ptr error) {
        try {
            std::rethrow_exception(error);
        } catch (const RequestError &e) {
            send_error(res, e.status, e.what());
        } catch (const Error &e) {
            send_error(res, e.exit() == Exit::kUsage ? 400 : 500, e.what());
        } catch (const std::bad_alloc &) {
            send_error(res, 503, "out of memory");
        } catch (const std::exception &e) {
            send_error(res, 500, e.what());
        } catch (...) {
            send_error(res, 500, "unknown failure");
        }
    });
    http.set_error_handler([](const Request &, Response &res) {
        if (res.body.empty())
            send_error(res, res.status, res.status == 404 ? "no such page" : "request refused");
    });

    const auto route = [&session](void (*handler)(Session &, const Request &, Response &)) {
        return [&session, handler](const Request &req, Response &res) { handler(session, req, res); };
    };
    http.Get("/",
             [&session, &access](const Request &req, Response &res) { get_page(session, access, req, res); });
    http.Get("/api/info", [&session](const Request &, Response &res) { send_json(res, session.info()); });
    http.Get("/api/frame", route(get_frame));
    http.Get("/api/frames", route(get_frames));
    http.Get("/api/measure", route(get_measure));
    http.Get("/api/picture.png", route(get_picture));
    http.Get("/api/scene", [&session](const Request &, Response &res) { send_json(res, session.scene()); });
    http.Post("/api/scene", route(post_scene));
    http.Get(R"(/([A-Za-z0-9_-]+\.[a-z]+))", get_asset);
}

}  // namespace radimo::cli::view
