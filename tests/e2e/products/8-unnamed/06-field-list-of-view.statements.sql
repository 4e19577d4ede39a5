-- max rows 1
SELECT "Name", "No_" FROM "Customer_Card" WHERE (1=2) ORDER BY "Name" ASC
