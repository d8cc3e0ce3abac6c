# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Run before verify_tool is installed, with sigkit_tool, sigkit_root, which is the file of the root certificate that it
# is to trust, sigkit_is_development_root and sigkit_allows_development_root.
if(sigkit_is_development_root AND NOT sigkit_allows_development_root)
  message(FATAL_ERROR
    "verify_tool trusts a development root, whose private key is in the build tree: it is not installed. Configure "
    "with -DSIGKIT_TRUST_ANCHOR=FILE for a root of your own, or with -DSIGKIT_ALLOW_DEVELOPMENT_ROOT=ON where the tool "
    "will protect nothing.")
endif()

if(NOT EXISTS "${sigkit_root}" OR IS_DIRECTORY "${sigkit_root}")
  message(FATAL_ERROR
    "There is no file ${sigkit_root} any more: verify_tool, which is to trust that root, is not installed. Put the "
    "file back, or configure with -DSIGKIT_TRUST_ANCHOR=FILE for another root.")
endif()

# The build tree may have been configured for another root since the tool was built, or the file replaced. The first
# 1024 octets hold the names and the key; the tool has them in one run.
file(READ "${sigkit_root}" sigkit_wanted LIMIT 1024 HEX)
file(READ "${sigkit_tool}" sigkit_present HEX)
string(FIND "${sigkit_present}" "${sigkit_wanted}" sigkit_place)
if(sigkit_place EQUAL -1)
  message(FATAL_ERROR
    "verify_tool was built with another root than ${sigkit_root}: it is not installed. Build it anew.")
endif()
