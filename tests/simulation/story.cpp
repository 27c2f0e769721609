#include "tests/simulation/story.h"

#include <exception>

namespace Simulation {

namespace {

using Arguments = World::Arguments;

/// One story, and what is promised at its end.
class Story {
public:
    Story(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page)
        : m_scenario(schedule.scenario)
        , m_rounds(schedule.seed % 4 == 0 ? 2 : 1)
        , m_environment(folder + "/env.json")
        , m_world(schedule, wishes, folder, page)
    {
    }

    void PlayWithoutMemory(const MemoryStory& story, MemoryOutcome& outcome)
    {
        const std::vector<Arguments> commands = {
            Init(), Init(), {"cleanup", "--env", m_environment}, {"tidy", "--env", m_environment, "--yes"}};
        if (story.which != 0) {
            RequireInit();
        }
        m_world.LetRunAgain(story.looksForLeaks);
        m_world.FailAllocation(story.failing);
        const int code = RunAlone(commands.at(story.which));
        outcome.allocations = m_world.FailAllocation(0);
        outcome.heldBlocks = m_world.HeldBlocks();
        m_world.LetRunAgain(false);
        if (story.which < 2 && code == 0 && !story.looksForLeaks) {
            RequireChain("init ended with 0");
        }
        RequireLittleLeft();
        RequireInit();
        TakeApart();
    }

    void Play()
    {
        m_world.onEnd = [this](const Arguments& arguments, int code) {
            if (arguments.front() == "init" && code == 0 && !m_world.HadOperator()) {
                RequireChain("init ended with 0");
            }
        };
        PlayScenario();
        m_world.Calm();
        for (unsigned int round = 0; round < m_rounds; ++round) {
            RequireInit();
            TakeApart();
        }
    }

private:
    Arguments Init() const { return {"init", "--env", m_environment}; }

    void PlayScenario()
    {
        switch (m_scenario) {
        case Scenario::Once:
            m_world.Run({Init()});
            break;
        case Scenario::Twice:
            m_world.Run({Init()});
            m_world.Run({Init()});
            break;
        case Scenario::Watched:
            m_world.Run({{"init", "--env", m_environment, "--watch", "1"}});
            break;
        case Scenario::Several:
            m_world.Run({Init(), Init(), Init()});
            break;
        }
        RequireLittleLeft();
    }

    int RunAlone(const Arguments& arguments) { return m_world.Run({arguments}).front().value_or(-1); }

    void RequireChain(const std::string& when)
    {
        const std::string problem = m_world.Array().ProblemOfChain(m_world.Record());
        if (!problem.empty()) {
            throw Broken(when + ", and " + problem);
        }
    }

    void RequireLittleLeft()
    {
        const std::string problem = m_world.Array().ProblemOfForeign();
        if (!problem.empty()) {
            throw Broken(problem);
        }
        const std::size_t sessions = m_world.Array().SessionCount();
        if (sessions > m_world.AllowedSessions()) {
            throw Broken(std::to_string(sessions) + " sessions are left, not " +
                         std::to_string(m_world.AllowedSessions()) + " at most");
        }
        const std::string nameless = m_world.Array().Nameless(m_world.Record(), m_world.Journal());
        if (!nameless.empty() && !m_world.HadFullDisk()) {
            throw Broken("neither record nor journal names " + nameless);
        }
        m_world.RequireNoSecrets();
    }

    void RequireInit()
    {
        const int code = RunAlone(Init());
        if (code != 0) {
            throw Broken("the undisturbed init ended with " + std::to_string(code) + ": " + m_world.Printed());
        }
        if (m_world.HadOperator()) { // what somebody mapped by it may stay beside the chain
            RequireLittleLeft();
            return;
        }
        RequireChain("the undisturbed init ended with 0");
        const std::string problem = m_world.Array().ProblemOfCount();
        if (!problem.empty() && !m_world.HadFullDisk()) {
            throw Broken("after an undisturbed init " + problem);
        }
        RequireLittleLeft();
    }

    void TakeApart()
    {
        int code = -1;
        for (int i = 0; i < 2 && code != 0; ++i) {
            code = RunAlone({"cleanup", "--env", m_environment, "--delete-host"});
        }
        if (code != 0) {
            throw Broken("cleanup is stuck: " + m_world.Printed());
        }
        code = RunAlone({"tidy", "--env", m_environment, "--yes"});
        if (code != 0) {
            throw Broken("tidy ended with " + std::to_string(code) + ": " + m_world.Printed());
        }
        const std::string left = m_world.Array().Ours();
        if (!left.empty() && !m_world.HadFullDisk()) {
            throw Broken("after cleanup and tidy there are " + left);
        }
        RequireLittleLeft();
    }

    const Scenario m_scenario;
    const unsigned int m_rounds;
    const std::string m_environment;
    World m_world;
};

template <typename Work>
std::string ProblemOf(const Work& work)
{
    try {
        work();
    } catch (const Broken& broken) {
        return broken.what();
    } catch (const std::exception& error) {
        return std::string("the simulation itself: ") + error.what();
    }
    return "";
}

} // namespace

std::string Play(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page)
{
    return ProblemOf([&] { Story(schedule, wishes, folder, page).Play(); });
}

MemoryOutcome PlayWithoutMemory(const MemoryStory& story, const World::Wishes& wishes, const std::string& folder,
                                SharedPage& page)
{
    MemoryOutcome outcome;
    outcome.problem = ProblemOf([&] {
        Schedule calm;
        calm.seed = 1; // the same names, and so the same allocations, each time
        Story(calm, wishes, folder, page).PlayWithoutMemory(story, outcome);
    });
    return outcome;
}

Schedule Shrink(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page)
{
    Schedule least = schedule;
    for (bool isSmaller = true; isSmaller;) {
        isSmaller = false;
        for (std::size_t i = 0; i < least.events.size() && !isSmaller; ++i) {
            Schedule tried = least;
            tried.events.erase(tried.events.begin() + static_cast<std::ptrdiff_t>(i));
            if (!Play(tried, wishes, folder, page).empty()) {
                least = tried;
                isSmaller = true;
            }
        }
        if (!isSmaller && least.scenario != Scenario::Once) {
            Schedule tried = least;
            tried.scenario = Scenario::Once;
            if (!Play(tried, wishes, folder, page).empty()) {
                least = tried;
                isSmaller = true;
            }
        }
    }
    return least;
}

} // namespace Simulation
