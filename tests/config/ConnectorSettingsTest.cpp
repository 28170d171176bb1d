#include "config/ConnectorSettings.h"

#include "config/ErrorOf.h"

#include <gtest/gtest.h>

using qxm::ConnectorConfiguration;
using qxm::ConnectorKind;
using test::ErrorOf;

TEST(ConnectorSettings, HaveDefaults)
{
    const ConnectorConfiguration configuration = ConnectorConfiguration::Parse("<LocalServiceConnector/>");
    EXPECT_EQ(configuration.kind, ConnectorKind::Local);
    EXPECT_EQ(configuration.settings.configurationPath, L"");
    EXPECT_FALSE(configuration.settings.logServiceExecutionInfo);
    EXPECT_TRUE(configuration.settings.maxRunningCalls.IsNull());
    EXPECT_EQ(configuration.localExecution.maxLocalServants, 1u);
    EXPECT_TRUE(configuration.localExecution.processorUtilizationLimit.IsNull());
    EXPECT_TRUE(configuration.localExecution.physicalMemoryUtilizationLimit.IsNull());
    EXPECT_EQ(configuration.localExecution.maxRunningNoWaitCalls, 1u);
    EXPECT_EQ(configuration.localExecution.noWaitCallMemoryUsageLimitInMB, 512.0f);
}

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
    const struct
    {
        const char* xml;
        const wchar_t* error;
    } cases[] = {
        {"",
            L"service connector configuration: XML_ParseBuffer() failed, Expat error code = 3 (no element found), line "
            L"1,"
            L" column 0"},
        {"<localServiceConnector Bad='1'/>", L"Invalid service connector name 'localServiceConnector'"},
        {"<LocalServiceConnector maxRunningCalls='1' MaxRunningCalls='0'/>",
            L"Invalid attribute 'maxRunningCalls' in <LocalServiceConnector> element"},
        {"<NetworkServiceConnector MaxLocalServants='1'/>",
            L"Invalid attribute 'MaxLocalServants' in <NetworkServiceConnector> element"},
        {"<NetworkServiceConnector MaxRunningCalls='0'/>", L"Invalid MaxRunningCalls value (must be larger than 0)"},
        {"<LocalServiceConnector MaxRunningCalls='-1' MaxLocalServants='0'/>",
            L"Invalid MaxRunningCalls string '-1': value must be 0 or higher."},
        {"<LocalServiceConnector LogServiceExecutionInfo='yes'/>",
            L"Invalid LogServiceExecutionInfo string 'yes': value must be a boolean."},
        {"<LocalServiceConnector MaxLocalServants='0'/>", L"Invalid MaxLocalServants value (must be 1 or higher)"},
        {"<LocalServiceConnector MaxLocalServantsWithUnknownResourceUsage='0'/>",
            L"Invalid MaxLocalServantsWithUnknownResourceUsage value (must be 1 or higher)"},
        {"<LocalServiceConnector ProcessorUtilizationLimit='501%'/>",
            L"Invalid ProcessorUtilizationLimit value (must be between 0% and 500%)"},
        {"<LocalServiceConnector ProcessorUtilizationLimit='0.8'/>",
            L"Invalid ProcessorUtilizationLimit string '0.8': missing percentage sign."},
        {"<LocalServiceConnector PhysicalMemoryUtilizationLimit='-5%'/>",
            L"Invalid PhysicalMemoryUtilizationLimit string '-5%': value must be 0 or higher."},
        {"<HybridServiceConnector MaxRunningNoWaitCalls='x'/>",
            L"Invalid MaxRunningNoWaitCalls string 'x': value is not an unsigned int."},
        {"<HybridServiceConnector NoWaitCallMemoryUsageLimitInMB='-0.5'/>",
            L"Invalid NoWaitCallMemoryUsageLimitInMB value (must be 0 or higher)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { ConnectorConfiguration::Parse(c.xml); }), c.error) << c.xml;
}
