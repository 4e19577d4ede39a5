SELECT "Name", "No_" FROM "Customer_Card" WHERE (1=2) ORDER BY "Name" ASC
