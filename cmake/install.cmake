# What `cmake --install` puts where: the module, wavehost, the headers, what leads a host's build to them, the manual.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VANTOR_MODULE_DIR lib/vantor_wave) # where wavehost looks for it, from bin/
set(VANTOR_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Folder of zsh's completions")

install(TARGETS vantor_wave LIBRARY DESTINATION ${VANTOR_MODULE_DIR} RUNTIME DESTINATION ${VANTOR_MODULE_DIR})
install(TARGETS wavehost RUNTIME DESTINATION bin)
install(DIRECTORY include/vantor_wave DESTINATION include FILES_MATCHING PATTERN "*.h")
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp"
        PATTERN "CMakeLists.txt")

# find_package(vantor_wave): the headers, and where the module lies.
configure_package_config_file(cmake/vantor_waveConfig.cmake.in ${CMAKE_BINARY_DIR}/vantor_waveConfig.cmake
                              INSTALL_DESTINATION lib/cmake/vantor_wave PATH_VARS VANTOR_MODULE_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vantor_waveConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vantor_waveConfig.cmake ${CMAKE_BINARY_DIR}/vantor_waveConfigVersion.cmake
        DESTINATION lib/cmake/vantor_wave)
configure_file(cmake/vantor_wave.pc.in ${CMAKE_BINARY_DIR}/vantor_wave.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vantor_wave.pc DESTINATION lib/pkgconfig)

# The manual page and the completions come from the command line itself.
if(NOT WIN32 AND NOT VANTOR_SANITIZE)
    foreach(form man bash zsh fish)
        set(file ${CMAKE_BINARY_DIR}/manual/wavehost.${form})
        add_custom_command(OUTPUT ${file} DEPENDS wavehost
                           COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/manual
                           COMMAND wavehost --manual ${form} > ${file})
        list(APPEND manual ${file})
    endforeach()
    add_custom_target(wavehost_manual ALL DEPENDS ${manual})
    install(FILES ${CMAKE_BINARY_DIR}/manual/wavehost.man DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 RENAME wavehost.1)
    install(FILES ${CMAKE_BINARY_DIR}/manual/wavehost.bash
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME wavehost)
    install(FILES ${CMAKE_BINARY_DIR}/manual/wavehost.zsh DESTINATION ${VANTOR_ZSH_DIR} RENAME _wavehost)
    install(FILES ${CMAKE_BINARY_DIR}/manual/wavehost.fish
            DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
