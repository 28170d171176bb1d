#include "config/ConnectorSettings.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

using qxm::ConnectorConfiguration;
using qxm::ConnectorKind;
using test::ErrorOf;

TEST(ConnectorSettings, AreReadFromTheAttributes)
{
    const ConnectorConfiguration configuration = ConnectorConfiguration::Parse(
        "<HybridServiceConnector QxConfigurationPath='a/b.xml' LogServiceExecutionInfo='true'"
        " MaxRunningCalls='18446744073709551615' MaxLocalServants='3' MaxLocalServantsWithUnknownResourceUsage='5'"
        " ProcessorUtilizationLimit='500%' PhysicalMemoryUtilizationLimit='0%' MaxRunningNoWaitCalls='0'"
        " NoWaitCallMemoryUsageLimitInMB='12.5'><any/></HybridServiceConnector>");
    EXPECT_EQ(configuration.kind, ConnectorKind::Hybrid);
    EXPECT_EQ(configuration.settings.configurationPath, L"a/b.xml");
    EXPECT_TRUE(configuration.settings.logServiceExecutionInfo);
    EXPECT_EQ(configuration.settings.maxRunningCalls.Value(), 18446744073709551615u);
    EXPECT_EQ(configuration.localExecution.maxLocalServants, 5u);
    EXPECT_EQ(configuration.localExecution.processorUtilizationLimit.Value(), 5.0f);
    EXPECT_EQ(configuration.localExecution.physicalMemoryUtilizationLimit.Value(), 0.0f);
    EXPECT_EQ(configuration.localExecution.maxRunningNoWaitCalls, 0u);
    EXPECT_EQ(configuration.localExecution.noWaitCallMemoryUsageLimitInMB, 12.5f);
}

TEST(ConnectorSettings, RefuseTheFirstBadThing)
{
    const std::pair<const char*, const char*> cases[] = {
        {"",
            "service connector configuration: XML_ParseBuffer() failed, Expat error code = 3 (no element found), line "
            "1,"
            " column 0"},
        {"<localServiceConnector Bad='1'/>", "Invalid service connector name 'localServiceConnector'"},
        {"<LocalServiceConnector maxRunningCalls='1' MaxRunningCalls='0'/>",
            "Invalid attribute 'maxRunningCalls' in <LocalServiceConnector> element"},
        {"<NetworkServiceConnector MaxLocalServants='1'/>",
            "Invalid attribute 'MaxLocalServants' in <NetworkServiceConnector> element"},
        {"<NetworkServiceConnector MaxRunningCalls='0'/>", "Invalid MaxRunningCalls value (must be larger than 0)"},
        {"<LocalServiceConnector MaxRunningCalls='-1' MaxLocalServants='0'/>",
            "Invalid MaxRunningCalls string '-1': value must be 0 or higher."},
        {"<LocalServiceConnector LogServiceExecutionInfo='yes'/>",
            "Invalid LogServiceExecutionInfo string 'yes': value must be a boolean."},
        {"<LocalServiceConnector MaxLocalServants='0'/>", "Invalid MaxLocalServants value (must be 1 or higher)"},
        {"<LocalServiceConnector MaxLocalServantsWithUnknownResourceUsage='0'/>",
            "Invalid MaxLocalServantsWithUnknownResourceUsage value (must be 1 or higher)"},
        {"<LocalServiceConnector ProcessorUtilizationLimit='501%'/>",
            "Invalid ProcessorUtilizationLimit value (must be between 0% and 500%)"},
        {"<LocalServiceConnector ProcessorUtilizationLimit='0.8'/>",
            "Invalid ProcessorUtilizationLimit string '0.8': missing percentage sign."},
        {"<LocalServiceConnector PhysicalMemoryUtilizationLimit='-5%'/>",
            "Invalid PhysicalMemoryUtilizationLimit string '-5%': value must be 0 or higher."},
        {"<HybridServiceConnector MaxRunningNoWaitCalls='x'/>",
            "Invalid MaxRunningNoWaitCalls string 'x': value is not an unsigned int."},
        {"<HybridServiceConnector NoWaitCallMemoryUsageLimitInMB='-0.5'/>",
            "Invalid NoWaitCallMemoryUsageLimitInMB value (must be 0 or higher)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { ConnectorConfiguration::Parse(c.first); }), c.second) << c.first;
}
