# What tests/gdb/handles.cpp has made.
set width 0
set print pretty on
print settings
print *services
print released
print setting
