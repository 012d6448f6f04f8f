# Writes OUTPUT, a C++ source holding the files of ASSET_DIR named in ASSET_FILES (a ;-list) as
# byte arrays, for cli/view/assets.h. Run as a build step: cmake -P embed_assets.cmake.
set(body "")
set(table "")
set(index 0)
foreach(name IN LISTS ASSET_FILES)
    file(READ "${ASSET_DIR}/${name}" hex HEX)
    string(LENGTH "${hex}" hex_length)
    math(EXPR size "${hex_length} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    string(REGEX REPLACE "((0x..,){24})" "\\1\n    " bytes "${bytes}")
    string(APPEND body "// ${name}\nconstexpr unsigned char kFile${index}[] = {\n    ${bytes}0};\n")
    string(APPEND table "    {\"${name}\", {reinterpret_cast<const char *>(kFile${index}), ${size}}},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}.tmp"
    "// Generated from cli/view/page by cli/view/embed_assets.cmake at build time: do not edit.\n"
    "#include \"view/assets.h\"\n\n"
    "namespace radimo::cli::view {\nnamespace {\n\n${body}\n"
    "const Asset kAssets[] = {\n${table}};\n\n}  // namespace\n\n"
    "std::span<const Asset> assets() {\n    return kAssets;\n}\n\n}  // namespace radimo::cli::view\n")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
