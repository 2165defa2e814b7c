# Windows specifics of the build, included by the top-level CMakeLists.txt
# after the libraries are defined.
#
# The DLLs carry their plain names (om1.dll, KVCT64u.dll, om1platform.dll)
# with import libraries om1.dll.a, KVCT64u.dll.a, om1platform.dll.a. The
# platform library brings the system's graphics and window calls (gdi32,
# user32) to everything that links it.
set_target_properties(om1 KVCT64u om1platform PROPERTIES PREFIX "" IMPORT_PREFIX "")
target_link_libraries(om1platform PUBLIC gdi32 user32)
