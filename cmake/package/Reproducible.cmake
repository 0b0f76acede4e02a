# Read by cpack. The archives contain the date of the release instead of the time of the build, so that building the
# same sources with the same compiler yields identical files.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{SOURCE_DATE_EPOCH} 1795305600) # 2026-11-22
endif()
set(ENV{TZ} UTC) # ZIP archives contain local times
