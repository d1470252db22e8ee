// Children as processes of this machine, shut in as far as it has the means.
//
// With bubblewrap (a `bwrap` that works here) a child has name spaces of its own; without it, on
// Linux, it can open no socket to a network; elsewhere only the limits hold. Each child leads a
// process group, which is ended as one.
//
// A request that is expected is begun beforehand, one at a time: its program waits for input in a
// child of its own, held to the same limits, and judges one work like any other. It ends unused
// after a while, and is not used when its program or what it may read has changed since.

#pragma once

#include "critics/worker/child_process.h"
#include "critics/worker/sandbox.h"

#include <chrono>
#include <filesystem>
#include <memory>

namespace trevix {

/// How long a child that was begun beforehand waits. Chosen: work comes in bursts, and a waiting
/// child with its dictionaries takes some 40 MB.
constexpr std::chrono::milliseconds kReadyFor = std::chrono::seconds(60);

/// A runner whose children's folders are made in `workFolder`, which exists and is this user's
/// alone.
[[nodiscard]] std::unique_ptr<ChildRunner>
makePosixChildRunner(std::filesystem::path workFolder, SandboxFacts facts,
                     std::chrono::milliseconds readyFor = kReadyFor);

/// Whether a child has something on its standard input, or the end of it.
[[nodiscard]] bool inputWaits();

/// What there is to shut programs in with, tried out with `program --version`: a bwrap that is
/// there but may not work, as in some containers, or in which that program finds not all that it
/// needs, is none. Runs it once.
[[nodiscard]] SandboxFacts sandboxOfThisMachine(const std::filesystem::path& workFolder,
                                                const std::string& program);

} // namespace trevix
