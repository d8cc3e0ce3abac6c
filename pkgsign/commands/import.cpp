#include "pkgsign/authority/import.h"

#include <memory>

#include "pkgsign/commands/command.h"

namespace pkgsign
{

Command ImportCommand()
{
    const auto files = std::make_shared<std::vector<std::string>>();
    Command command;
    command.name = "import";
    command.summary = "Take certificates and published CRLs into memory";
    command.example = "pkgsign import signer.pem crls.der";
    command.options = {{"FILE", "FILE", "certificates and CRLs, PEM or DER", files.get(), true}};
    command.run = [files](Session *session) {
        Objects all;
        for (const std::string &path : *files) {
            Objects objects;
            const Status status = ReadObjects(path, &objects);
            if (!status.ok) {
                return status;
            }
            all.certificates.insert(all.certificates.end(), objects.certificates.begin(), objects.certificates.end());
            all.crls.insert(all.crls.end(), objects.crls.begin(), objects.crls.end());
        }
        session->next = "pkgsign list --pki " + session->place.folder;
        return ImportObjects(session->place, all, files->front(), &session->out);
    };
    return command;
}

} // namespace pkgsign
