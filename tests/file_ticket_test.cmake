# The log hook does nothing in this library; the test puts its own in its place to see what it is told.
target_link_options(file_ticket_test PRIVATE -Wl,--wrap=_ZN7STICKET3LogEjPKcz)
