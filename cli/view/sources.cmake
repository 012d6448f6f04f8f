# The viewer's sources and its page (the plain HTML, CSS and JavaScript of page/), embedded into a
# generated source file at build time by embed_assets.cmake: the page loads nothing from anywhere
# else and needs no build of its own. Included by cli/view/CMakeLists.txt (the radimo tool) and by
# fuzz/CMakeLists.txt (the request handler's harness).
set(RADIMO_VIEW_DIR ${CMAKE_CURRENT_LIST_DIR})
set(RADIMO_VIEW_SOURCES access.cpp assets.cpp file_source.cpp live_source.cpp recorder.cpp server.cpp
    session.cpp v4l2_formats.cpp v4l2_reader.cpp)
list(TRANSFORM RADIMO_VIEW_SOURCES PREPEND ${RADIMO_VIEW_DIR}/)
set(RADIMO_VIEW_PAGE index.html viewer.css viewer.js frames.js live.js)

# Adds the viewer's sources and its embedded page to `target`.
function(radimo_add_view_sources target)
    set(embedded ${CMAKE_CURRENT_BINARY_DIR}/${target}_page.cpp)
    list(TRANSFORM RADIMO_VIEW_PAGE PREPEND ${RADIMO_VIEW_DIR}/page/ OUTPUT_VARIABLE page_paths)
    add_custom_command(OUTPUT ${embedded}
        COMMAND ${CMAKE_COMMAND} -DASSET_DIR=${RADIMO_VIEW_DIR}/page "-DASSET_FILES=${RADIMO_VIEW_PAGE}"
                -DOUTPUT=${embedded} -P ${RADIMO_VIEW_DIR}/embed_assets.cmake
        DEPENDS ${page_paths} ${RADIMO_VIEW_DIR}/embed_assets.cmake
        COMMENT "Embedding the viewer's page" VERBATIM)
    target_sources(${target} PRIVATE ${RADIMO_VIEW_SOURCES} ${embedded})
    target_include_directories(${target} PUBLIC ${RADIMO_VIEW_DIR}/..)
endfunction()
