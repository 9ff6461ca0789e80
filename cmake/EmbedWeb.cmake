# Writes OUT: a C++ source that holds every file of the page folder DIR (sorted by name) as a
# string, so that `kmd serve` is one file. Text files only.
file(GLOB files RELATIVE ${DIR} ${DIR}/*.html ${DIR}/*.css ${DIR}/*.js ${DIR}/*.svg)
list(SORT files)
set(body "#include \"host/WebHost.h\"\n\nnamespace kmd::host {\n\nconst std::vector<WebAsset>& WebAssets() {\n  static const std::vector<WebAsset> assets = {\n")
foreach(f ${files})
  file(READ ${DIR}/${f} content)
  string(APPEND body "      {\"${f}\", R\"KMDWEB(${content})KMDWEB\", sizeof(R\"KMDWEB(${content})KMDWEB\") - 1},\n")
endforeach()
string(APPEND body "  };\n  return assets;\n}\n\n}  // namespace kmd::host\n")
file(WRITE ${OUT}.tmp "${body}")
execute_process(COMMAND ${CMAKE_COMMAND} -E copy_if_different ${OUT}.tmp ${OUT})
