-- max rows 1
SELECT "Name", "No_" FROM "Customer" WHERE (1=2) ORDER BY "Name" ASC
