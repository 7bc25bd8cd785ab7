# The library's log hook STICKET::Log does nothing; the linker replaces it by the test's, which records the messages.
target_link_options(file_ticket_test PRIVATE -Wl,--wrap=_ZN7STICKET3LogEjPKcz)
