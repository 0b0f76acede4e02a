# Read by cpack: the archives carry the day of the release instead of the hour of the build, so that anybody who builds
# the same sources with the same compiler gets the same bytes.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{SOURCE_DATE_EPOCH} 1795305600) # 2026-11-22
endif()
set(ENV{TZ} UTC) # ZIP archives hold local times
