// pkgsign: the release side.
#include "pkgsign/commands/command.h"

int main(int argc, char **argv)
{
    return pkgsign::RunCommandLine(argc, argv,
                                   {pkgsign::InitCommand(), pkgsign::RequestCommand(), pkgsign::IssueCommand(),
                                    pkgsign::RevokeCommand(), pkgsign::CrlCommand(), pkgsign::ListCommand(),
                                    pkgsign::ImportCommand(), pkgsign::ChecksumsCommand(), pkgsign::SignCommand(),
                                    pkgsign::TimestampCommand()});
}
