# SPDX-License-Identifier: MIT
# Says where `cmake --install` puts files, and describes the Debian package that CPack makes of them. The programs find
# the rest relative to their own folder, so any prefix works. A desktop looks for the files below share in /usr,
# /usr/local and ~/.local.

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(documentation share/doc/kavrin)
set(ordinary_file OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)  # not the user's umask
find_program(KAVRIN_GZIP gzip REQUIRED)

install(TARGETS kavrin kavrinctl kavrin-stt kavrin-typist DESTINATION bin)
install(TARGETS kavrin_curl kavrin_libav kavrin_pulse DESTINATION lib/kavrin PERMISSIONS ${ordinary_file})
install(FILES KavriniOS/App/Info.plist KavriniOS/App/entitlements.plist tools/kavrinctl/setup/sample.m4a
  DESTINATION share/kavrin)

install(FILES ${packaging}/app.kavrin.Kavrin.desktop ${packaging}/app.kavrin.Typist.desktop DESTINATION share/applications)
install(FILES ${packaging}/app.kavrin.Kavrin.metainfo.xml DESTINATION share/metainfo)
install(FILES ${packaging}/icons/app.kavrin.Kavrin.svg DESTINATION share/icons/hicolor/scalable/apps)
install(FILES ${packaging}/icons/app.kavrin.Kavrin-symbolic.svg DESTINATION share/icons/hicolor/symbolic/apps)
install(FILES ${KAVRIN_ICONS_DIR}/hash.svg DESTINATION share/icons/hicolor/symbolic/actions
  RENAME app.kavrin.Kavrin-number-symbolic.svg)
install(FILES ${packaging}/completions/kavrinctl DESTINATION share/bash-completion/completions)
install(FILES ${packaging}/completions/kavrinctl.fish DESTINATION share/fish/vendor_completions.d)
foreach(folder vendor-completions site-functions)  # where Debian's zsh looks below /usr, and below /usr/local
  install(FILES ${packaging}/completions/_kavrinctl DESTINATION share/zsh/${folder})
endforeach()
install(FILES ${packaging}/debian/copyright DESTINATION ${documentation})

# The documents and their pictures, in the same folders, so that their links work.
install(FILES README.md CHANGELOG.md DESTINATION ${documentation})
install(DIRECTORY docs DESTINATION ${documentation} FILE_PERMISSIONS ${ordinary_file}
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg"
  PATTERN phone-light-settings.png PATTERN phone-light-layout.png PATTERN phone-dark-dictating.png
  PATTERN desktop-dark-extensions.png)

# Puts the paths of the programs into a file. They are known only at installation, because the same build is packaged
# for /usr.
function(kavrin_install_configured source destination)
  cmake_path(GET source STEM LAST_ONLY name)
  install(DIRECTORY DESTINATION ${destination})
  install(CODE "
    set(bindir \"\${CMAKE_INSTALL_PREFIX}/bin\")
    set(path \"\${CMAKE_INSTALL_PREFIX}/${destination}/${name}\")
    configure_file(\"${packaging}/${source}\" \"\$ENV{DESTDIR}\${path}\" @ONLY FILE_PERMISSIONS ${ordinary_file})
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${path}\")")
endfunction()

function(kavrin_install_compressed source destination)
  cmake_path(GET source FILENAME name)
  set(compressed ${PROJECT_BINARY_DIR}/packaging/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${KAVRIN_GZIP} -9nc ${packaging}/${source} > ${compressed}
    DEPENDS ${packaging}/${source} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY kavrin_compressed_files ${compressed})
  install(FILES ${compressed} DESTINATION ${destination})
endfunction()

foreach(name app.kavrin.Kavrin app.kavrin.Typist)
  kavrin_install_configured(${name}.service.in share/dbus-1/services)
endforeach()
foreach(unit kavrin kavrin-stt kavrin-messages app-app.kavrin.Typist)
  # Not lib: below a home folder, systemd looks only here.
  kavrin_install_configured(systemd/${unit}.service.in share/systemd/user)
endforeach()
foreach(program kavrin kavrinctl kavrin-stt kavrin-typist)
  kavrin_install_compressed(man/${program}.1 share/man/man1)
endforeach()
kavrin_install_compressed(debian/changelog ${documentation})
get_property(compressed_files GLOBAL PROPERTY kavrin_compressed_files)
add_custom_target(kavrin_compressed_files ALL DEPENDS ${compressed_files})

# Everything that is installed, and no tests.
add_custom_target(programs
  DEPENDS kavrin kavrinctl kavrin-stt kavrin-typist kavrin_curl kavrin_libav kavrin_pulse kavrin_compressed_files)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kavrin)
set(CPACK_PACKAGE_VENDOR "The Kavrin developers")
set(CPACK_PACKAGE_CONTACT "The Kavrin developers <developers@kavrin.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "dictation and settings for an on-screen keyboard")
set(CPACK_PACKAGE_DESCRIPTION
"Kavrin is the companion application of an on-screen keyboard, on desktops and
phones. It records when the keyboard asks, has the speech turned into text by
the service of the user's choice, and hands the text to the keyboard and to the
clipboard. It also holds the settings of the keyboard.

The service may be OpenAI, Gemini, any server with OpenAI's interface, or
kavrin-stt, which comes with Kavrin, knows US English, and needs neither an
account nor a network.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE none)  # without-ldconfig.cmake makes the package anew, and compresses it
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# dpkg-shlibdeps finds the libraries, and also those of the modules in lib/kavrin. It cannot see the following ones.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(depends
  ca-certificates                 # for every service that is not on this machine
  pocketsphinx-en-us              # the speech model of kavrin-stt
  qml6-module-qtqml               # the imports of the window, and their imports
  qml6-module-qtqml-workerscript
  qml6-module-qtquick
  qml6-module-qtquick-layouts
  qml6-module-qtquick-templates)
set(recommends
  "default-dbus-session-bus | dbus-session-bus"
  fonts-inter                     # fonts of the window, with letters for every language name
  fonts-noto-cjk
  fonts-noto-core
  libglib2.0-bin                  # gapplication, for "Save code" of the desktop file
  "pulseaudio | pipewire-pulse"   # either may be on another machine
  qt6-wayland                     # without it the window runs through Xwayland
  wl-clipboard                    # on Wayland, the clipboard while Kavrin has no focus
  xclip                           # the same on GNOME; under X11, what kavrin-typist types
  xdg-desktop-portal)             # dark or light, and the accent colour
set(suggests
  evolution-data-server           # contacts
  modemmanager)                   # kavrinctl watch-messages
foreach(relation DEPENDS RECOMMENDS SUGGESTS)
  string(TOLOWER ${relation} packages)
  list(JOIN ${packages} ", " CPACK_DEBIAN_PACKAGE_${relation})
endforeach()

set(CPACK_POST_BUILD_SCRIPTS ${packaging}/debian/without-ldconfig.cmake)

include(CPack)
