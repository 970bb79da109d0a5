# velguid::pmxlog and velguid::velguid, shared; velguid::pmxlog_static and velguid::velguid_static.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/velguidTargets.cmake)
