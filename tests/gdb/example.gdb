# What docs/debugging.md shows.
set print pretty on
print *settings
print *services
print *routes
