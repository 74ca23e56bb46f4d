# SPDX-License-Identifier: MIT
# CPack takes the modules in lib/kavrin for libraries that every program may link, and adds scripts that run ldconfig
# after installation and removal. The modules are no such libraries, so the package needs no scripts.

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder ${CPACK_TOPLEVEL_DIRECTORY}/without-ldconfig)
  file(REMOVE_RECURSE ${folder})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
