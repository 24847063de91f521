// Event managers, connections and clients: order, handles, names.
#include <string>

#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

class ConnectionTest : public ::testing::Test {
  protected:
    ConnectionTest() { card::use_backend(&watched_backend()); }

    Card card;
    CurrentCard use{card};

    u32 open(void *evm, const char *name, prm_handle_t *out) {
        return prm_mgr_open(evm, 0, name, ignore_notification, 7, 0, out);
    }
    u32 enrol(void *evm, prm_handle_t *out) { return prm_srh_register(out, 1, evm, ignore_notification); }

    prm_handle_t connection = nullptr, client = nullptr;
};

TEST_F(ConnectionTest, OpensRegistersNamesUnregistersAndCloses) {
    void *evm = event_manager_create(0, 0, 14, 0);
    ASSERT_NE(evm, nullptr);
    EXPECT_EQ(open(evm, "client", &connection), CERR_SUCCESS);
    EXPECT_NE(connection, nullptr);
    EXPECT_EQ(enrol(evm, &client), CERR_SUCCESS);
    EXPECT_EQ(prm_srh_set_name(client, "client"), CERR_SUCCESS);
    EXPECT_EQ(prm_srh_unregister("client", 0), CERR_SUCCESS);
    EXPECT_EQ(prm_mgr_close(connection), CERR_SUCCESS);
    event_manager_destroy(&evm);
    EXPECT_EQ(evm, nullptr);
    EXPECT_EQ(card.accounts[Resource::event_manager].used, 0u);
    EXPECT_EQ(card.accounts[Resource::connection].used, 0u);
    EXPECT_EQ(card.accounts[Resource::client].used, 0u);
}

TEST_F(ConnectionTest, WrongOrderIsRefused) {
    void *evm = event_manager_create(0, 0, 14, 0);
    EXPECT_EQ(enrol(evm, &client), CARD_ERROR_NOT_CONNECTED);
    EXPECT_EQ(prm_srh_set_name(client, "client"), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_mgr_close(nullptr), CARD_ERROR_BAD_HANDLE);
    ASSERT_EQ(open(evm, "client", &connection), CERR_SUCCESS);
    ASSERT_EQ(enrol(evm, &client), CERR_SUCCESS);
    EXPECT_EQ(prm_mgr_close(connection), CARD_ERROR_CLIENTS_REGISTERED);
    EXPECT_EQ(prm_srh_unregister("client", 0), CARD_ERROR_UNKNOWN_CLIENT) << "not named yet";
}

TEST_F(ConnectionTest, UnknownHandlesAreRefused) {
    EXPECT_EQ(open(nullptr, "client", &connection), CARD_ERROR_UNKNOWN_EVENT_MANAGER);
    EXPECT_EQ(open(stranger(), "client", &connection), CARD_ERROR_UNKNOWN_EVENT_MANAGER);
    EXPECT_EQ(enrol(stranger(), &client), CARD_ERROR_UNKNOWN_EVENT_MANAGER);
    EXPECT_EQ(prm_mgr_close(stranger()), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(prm_srh_set_name(stranger(), "client"), CARD_ERROR_BAD_HANDLE);
    EXPECT_EQ(connection, nullptr) << "a refused open stores nothing";
}

TEST_F(ConnectionTest, ClosedHandlesAreRefused) {
    void *evm = event_manager_create(0, 0, 14, 0);
    void *const gone = evm;
    ASSERT_EQ(open(evm, "client", &connection), CERR_SUCCESS);
    ASSERT_EQ(enrol(evm, &client), CERR_SUCCESS);
    ASSERT_EQ(prm_srh_set_name(client, "client"), CERR_SUCCESS);
    ASSERT_EQ(prm_srh_unregister("client", 0), CERR_SUCCESS);
    EXPECT_EQ(prm_srh_unregister("client", 0), CARD_ERROR_UNKNOWN_CLIENT);
    EXPECT_EQ(prm_srh_set_name(client, "client"), CARD_ERROR_BAD_HANDLE);
    ASSERT_EQ(prm_mgr_close(connection), CERR_SUCCESS);
    EXPECT_EQ(prm_mgr_close(connection), CARD_ERROR_BAD_HANDLE);
    event_manager_destroy(&evm);
    EXPECT_EQ(open(gone, "client", &connection), CARD_ERROR_UNKNOWN_EVENT_MANAGER);
    // Handles are not given out twice.
    EXPECT_NE(event_manager_create(0, 0, 14, 0), gone);
}

TEST_F(ConnectionTest, DestroyingTheEventManagerTakesItsConnectionsAndClientsAlong) {
    void *evm = event_manager_create(0, 0, 14, 0);
    void *other = event_manager_create(0, 0, 14, 0);
    prm_handle_t others_connection, others_client;
    ASSERT_EQ(open(evm, "client", &connection), CERR_SUCCESS);
    ASSERT_EQ(enrol(evm, &client), CERR_SUCCESS);
    ASSERT_EQ(open(other, "other", &others_connection), CERR_SUCCESS);
    ASSERT_EQ(enrol(other, &others_client), CERR_SUCCESS);
    event_manager_destroy(&evm);
    EXPECT_FALSE(card.connection.is_client(client));
    EXPECT_EQ(prm_mgr_close(connection), CARD_ERROR_BAD_HANDLE);
    EXPECT_TRUE(card.connection.is_client(others_client));
}

TEST_F(ConnectionTest, DestroyingNothingChangesNothing) {
    event_manager_destroy(nullptr);
    void *unknown = stranger();
    event_manager_destroy(&unknown);
    EXPECT_EQ(unknown, stranger());
}

TEST_F(ConnectionTest, NamesAreUnique) {
    void *evm = event_manager_create(0, 0, 14, 0);
    prm_handle_t second;
    ASSERT_EQ(open(evm, "client", &connection), CERR_SUCCESS);
    EXPECT_EQ(open(evm, "client", &second), CARD_ERROR_ALREADY_OPEN);
    ASSERT_EQ(enrol(evm, &client), CERR_SUCCESS);
    ASSERT_EQ(enrol(evm, &second), CERR_SUCCESS);
    EXPECT_EQ(prm_srh_set_name(client, "client"), CERR_SUCCESS);
    EXPECT_EQ(prm_srh_set_name(client, "client"), CERR_SUCCESS) << "its own name again";
    EXPECT_EQ(prm_srh_set_name(second, "client"), CARD_ERROR_NAME_TAKEN);
}

TEST_F(ConnectionTest, NullAndUnusableArgumentsAreRefused) {
    void *evm = event_manager_create(0, 0, 14, 0);
    EXPECT_EQ(open(evm, nullptr, &connection), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(open(evm, "client", nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(open(evm, "", &connection), CARD_ERROR_EMPTY_NAME);
    EXPECT_EQ(open(evm, std::string(256, 'x').c_str(), &connection), CARD_ERROR_EMPTY_NAME);
    ASSERT_EQ(open(evm, std::string(255, 'x').c_str(), &connection), CERR_SUCCESS);
    EXPECT_EQ(enrol(evm, nullptr), CARD_ERROR_NULL_POINTER);
    ASSERT_EQ(enrol(evm, &client), CERR_SUCCESS);
    EXPECT_EQ(prm_srh_set_name(client, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_unregister(nullptr, 0), CARD_ERROR_NULL_POINTER);
}

TEST_F(ConnectionTest, EveryTableIsBounded) {
    Card small(limited({}, {{Resource::event_manager, 1}, {Resource::connection, 1}, {Resource::client, 1}}));
    CurrentCard use_small(small);
    void *const evm = event_manager_create(0, 0, 14, 0);
    EXPECT_EQ(event_manager_create(0, 0, 14, 0), nullptr);
    ASSERT_EQ(open(evm, "a", &connection), CERR_SUCCESS);
    EXPECT_EQ(open(evm, "b", &connection), CARD_ERROR_TABLE_FULL);
    ASSERT_EQ(enrol(evm, &client), CERR_SUCCESS);
    EXPECT_EQ(enrol(evm, &client), CARD_ERROR_TABLE_FULL);
}

}  // namespace
}  // namespace sim
