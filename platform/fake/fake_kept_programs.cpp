#include "platform/fake/fake_kept_programs.h"

namespace kelvane {

namespace {

class FakeKeptProgram : public KeptProgram {
public:
    FakeKeptProgram(Journal& journal, std::string name, const bool& keepsRunning)
        : m_journal(journal),
          m_name(std::move(name)),
          m_keepsRunning(keepsRunning) {}
    ~FakeKeptProgram() override { m_journal.add("end " + m_name); }
    bool isRunning() override { return m_keepsRunning; }

private:
    Journal& m_journal;
    std::string m_name;
    const bool& m_keepsRunning;
};

} // namespace

std::unique_ptr<KeptProgram> FakeKeptPrograms::start(const std::filesystem::path& program,
                                                     const std::vector<std::string>& arguments) {
    std::string line = "keep " + program.string();
    for (const auto& argument : arguments) line += " " + argument;
    m_journal.add(std::move(line));
    if (missing.contains(program)) return nullptr;
    return std::make_unique<FakeKeptProgram>(m_journal, program.string(), keepsRunning);
}

} // namespace kelvane
