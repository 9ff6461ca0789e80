# The browser host's needs: cpp-httplib, and the page of web/ built into kmd_host.
pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET cpp-httplib)
file(GLOB web_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/web/*.html ${CMAKE_SOURCE_DIR}/web/*.css
     ${CMAKE_SOURCE_DIR}/web/*.js ${CMAKE_SOURCE_DIR}/web/*.svg)
set(web_gen ${CMAKE_CURRENT_BINARY_DIR}/WebAssets.cpp)
add_custom_command(
  OUTPUT ${web_gen}
  COMMAND ${CMAKE_COMMAND} -DDIR=${CMAKE_SOURCE_DIR}/web -DOUT=${web_gen} -P ${CMAKE_SOURCE_DIR}/cmake/EmbedWeb.cmake
  DEPENDS ${web_files} ${CMAKE_SOURCE_DIR}/cmake/EmbedWeb.cmake
  COMMENT "Embedding the web page")
target_sources(kmd_host PRIVATE ${web_gen})
target_link_libraries(kmd_host PUBLIC PkgConfig::HTTPLIB Threads::Threads)
