// The viewer's HTTP server: the page's embedded files and its API over the session, behind the
// token and Host checks. Nothing a request names reaches the file system: the files are the
// embedded ones and the frames those of the session's source.
//
//   GET  /                      the page (index.html with the token)
//   GET  /<name>                the page's other embedded files
//   GET  /api/info              source, palettes, first settings, scene (JSON)
//   GET  /api/frame             ?index=N, or ?after=N|none&wait=MS for the next or newest frame;
//                               with tools (point=X,Y line=X0,Y0,X1,Y1 rect=X,Y,W,H): the frame
//                               message of Session::frame_message; 204 when none came in time
//   GET  /api/measure           ?index=N and tools: the report of `radimo measure --json`;
//                               format=csv for its CSV; download=1 to save it as a file
//   GET  /api/picture.png       ?index=N, tools, palette, range=LO,HI, isotherm=LO,HI, bar=0|1,
//                               crosshairs=0|1: the picture of `radimo render`
//   GET  /api/scene, POST /api/scene   the scene, and its change (JSON object of fields)
//
// Errors are JSON {"error": message} with status 400 (bad request), 403 (token or Host), 404,
// 410 (a live frame no longer kept) or 500.
#pragma once

#include <httplib.h>

#include "view/access.h"
#include "view/session.h"

namespace radimo::cli::view {

// Installs the checks, the routes and the limits on `http`; `session` and `access` must outlive it.
void install_routes(httplib::Server &http, Session &session, const Access &access);

// The largest request body taken (a scene change is a few hundred bytes).
inline constexpr std::size_t kMaxBody = 64 * 1024;
// Threads serving connections.
inline constexpr std::size_t kThreads = 16;
// The longest a frame request waits for a live frame.
inline constexpr int kMaxWaitMilliseconds = 5000;

}  // namespace radimo::cli::view
